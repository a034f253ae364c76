#include "instruction_counter.h"

#include "temp_directory.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>
#include <valgrind/callgrind.h>

namespace klb::test {

namespace {

/// Tells the program under Callgrind where its counts are dumped.
constexpr const char* kDumpVariable = "KLB_CALLGRIND_DUMP";

/// The count in Callgrind's dump.
std::uint64_t totalIn(const std::string& dump) {
    const std::string title = "totals: ";
    std::ifstream lines(dump);
    std::string line;
    while (std::getline(lines, line)) {
        if (line.starts_with(title)) {
            return std::stoull(line.substr(title.size()));
        }
    }
    return 0;
}

} // namespace

std::uint64_t instructionsOf(const std::function<void()>& work) {
    if (!runsUnderCallgrind()) {
        throw std::logic_error("instructions are counted under Callgrind only");
    }
    static int dumps = 0;
    CALLGRIND_ZERO_STATS;
    CALLGRIND_START_INSTRUMENTATION;
    work();
    CALLGRIND_STOP_INSTRUMENTATION;
    CALLGRIND_DUMP_STATS;
    ++dumps;
    const std::string dump = std::getenv(kDumpVariable) + ("." + std::to_string(dumps));
    const std::uint64_t total = totalIn(dump);
    if (total == 0) {
        throw std::runtime_error("Callgrind has counted nothing in " + dump);
    }
    std::filesystem::remove(dump);
    return total;
}

bool runsUnderCallgrind() {
    return RUNNING_ON_VALGRIND && std::getenv(kDumpVariable) != nullptr;
}

int runUnderCallgrind(char** arguments) {
    const TempDirectory directory;
    const std::string dump = directory.pathOf("counts");
    std::string dumpOption = "--callgrind-out-file=" + dump;
    std::string program = std::filesystem::read_symlink("/proc/self/exe");
    std::string valgrind[] = {KLB_VALGRIND, "--quiet", "--tool=callgrind", "--instr-atstart=no"};

    std::vector<char*> command;
    for (std::string& each : valgrind) {
        command.push_back(each.data());
    }
    command.push_back(dumpOption.data());
    command.push_back(program.data());
    for (++arguments; *arguments != nullptr; ++arguments) {
        command.push_back(*arguments);
    }
    command.push_back(nullptr);

    setenv(kDumpVariable, dump.c_str(), 1);
    setenv("LD_BIND_NOW", "1", 1);
    const pid_t child = fork();
    if (child == 0) {
        execv(command.front(), command.data());
        _exit(127);
    }
    int status = 0;
    if (child == -1 || waitpid(child, &status, 0) != child) {
        throw std::runtime_error("Valgrind cannot be started");
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : EXIT_FAILURE;
}

} // namespace klb::test
