#include "protected_files.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#else
#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <thread>
#endif

namespace klb::test {

namespace {

// The pass phrase of make_files' encrypted files: whoever asks for it gets it, and shows so.
constexpr std::string_view kAnswer = "secret\nsecret\nsecret\n";

#if defined(_WIN32)
int makePipe(int (&ends)[2]) {
    return _pipe(ends, 4096, _O_BINARY);
}
constexpr auto& duplicate = _dup;
constexpr auto& duplicateTo = _dup2;
constexpr auto& closeFile = _close;
#else
int makePipe(int (&ends)[2]) {
    return pipe(ends);
}
constexpr auto& duplicate = dup;
constexpr auto& duplicateTo = dup2;
constexpr auto& closeFile = close;
#endif

/// Puts the answer to a question for a pass phrase on standard input for its lifetime.
class AnsweringInput {
public:
    AnsweringInput() : before_(duplicate(kInput)) {
        int ends[2];
        if (makePipe(ends) != 0) {
            throw std::system_error(errno, std::generic_category(), "pipe");
        }
        const long written = static_cast<long>(
            write(ends[1], kAnswer.data(), static_cast<unsigned>(kAnswer.size())));
        duplicateTo(ends[0], kInput);
        closeFile(ends[0]);
        closeFile(ends[1]);
        if (written != static_cast<long>(kAnswer.size())) {
            throw std::runtime_error("the pipe does not hold the answer");
        }
    }
    ~AnsweringInput() {
        if (before_ >= 0) {
            duplicateTo(before_, kInput);
            closeFile(before_);
        } else {
            closeFile(kInput);
        }
    }
    AnsweringInput(const AnsweringInput&) = delete;
    AnsweringInput& operator=(const AnsweringInput&) = delete;

    /// What nobody has read.
    std::string rest() const {
        std::string bytes(kAnswer.size() + 1, '\0');
        std::string all;
        for (;;) {
            const auto count = read(kInput, bytes.data(), static_cast<unsigned>(bytes.size()));
            if (count <= 0) {
                return all;
            }
            all.append(bytes, 0, static_cast<std::size_t>(count));
        }
    }

private:
    static constexpr int kInput = 0;
    int before_;
};

const std::string kNoCertificate =
    "setCertificateData: can't read certificate from the certificate data provided.";

/// Every place where an encrypted text can lie in the way of a certificate. Encrypted texts are
/// refused or passed over; nothing asks for their pass phrase.
void meetEncryptedTexts() {
    const std::string encryptedKeys[] = {made("encrypted-key.pem"), made("encrypted-old-key.pem")};
    inBothErrorModes([](ErrorObserver& observer) {
        const TempDirectory directory;
        const std::string path = directory.write("toggles.klb", made("rsa.klb"));
        const LibrarySession library;
        observer.expectError<std::domain_error>(
            kNoCertificate, [] { KLB_SetCertificateData(made("encrypted.pem").c_str()); });
        EXPECT_TRUE(lockIsFree());
        expectOutcomeOf(observer, path, refused(kNotVerified));
    });
    expectOutcome(made("rsa.klb"), besideLies(made("encrypted.pem")), refused(kNotVerified));
    for (const std::string& key : encryptedKeys) {
        inBothErrorModes([&](ErrorObserver& observer) {
            const LibrarySession library;
            observer.expectError<std::domain_error>(kNoCertificate,
                                                    [&] { KLB_SetCertificateData(key.c_str()); });
        });
        expectOutcome(made("rsa.klb"), hostGives(key + made("rsa.pem")), kAccepted);
        expectOutcome(made("rsa.klb"), besideLies(key), refused(kNotVerified));
        expectOutcome(made("rsa.klb"), besideLies(key + made("rsa.pem")), kAccepted);
        expectOutcome(made("rsa.klb"), besideLies(made("rsa.pem") + key), kAccepted);
    }
}

TEST(EncryptedPem, IsNotAskedForOnStandardInput) {
    const AnsweringInput input;
    meetEncryptedTexts();
    EXPECT_EQ(input.rest(), kAnswer);
}

#if !defined(_WIN32)

/// Runs the body in a process that has a terminal of its own and nothing else. Gives what it wrote
/// to the terminal; a body that did not end in time, or failed, is a failure of the test.
std::string writtenToTerminal(const std::function<void()>& body) {
    const int master = posix_openpt(O_RDWR | O_NOCTTY);
    if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0) {
        throw std::system_error(errno, std::generic_category(), "posix_openpt");
    }
    const std::string name = ptsname(master);
    // Open here as well: a terminal that nobody has open any more forgets what was written.
    const int kept = open(name.c_str(), O_RDWR | O_NOCTTY);
    const pid_t child = fork();
    if (child == 0) {
        setsid();
        const int terminal = open(name.c_str(), O_RDWR); // becomes the controlling terminal
        if (terminal < 0 || dup2(terminal, STDIN_FILENO) < 0) {
            _exit(3);
        }
        body();
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    if (child < 0) {
        throw std::system_error(errno, std::generic_category(), "fork");
    }
    // Whoever asks on a terminal also catches most signals meanwhile.
    int status = 0;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (waitpid(child, &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() > end) {
            kill(child, SIGKILL);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    EXPECT_TRUE(WIFEXITED(status)) << "ended by signal " << WTERMSIG(status);
    EXPECT_EQ(WIFEXITED(status) ? WEXITSTATUS(status) : 0, 0);

    std::string all;
    pollfd ready = {master, POLLIN, 0};
    char buffer[256];
    while (poll(&ready, 1, 0) > 0 && (ready.revents & POLLIN)) {
        const ssize_t count = read(master, buffer, sizeof buffer);
        if (count <= 0) {
            break;
        }
        all.append(buffer, static_cast<std::size_t>(count));
    }
    close(kept);
    close(master);
    return all;
}

TEST(EncryptedPem, IsNotAskedForOnTheTerminal) {
    // What is asked on a terminal can be seen here.
    ASSERT_EQ(writtenToTerminal([] {
                  const int terminal = open("/dev/tty", O_WRONLY);
                  if (write(terminal, "phrase?", 7) != 7) {
                      _exit(4);
                  }
              }),
              "phrase?");
    EXPECT_EQ(writtenToTerminal(&meetEncryptedTexts), "");
}

#endif

} // namespace

} // namespace klb::test
