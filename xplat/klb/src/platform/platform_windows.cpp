#include "platform/platform.h"

#include <array>
#include <climits>
#include <cstdio>
#include <utility>

#include <io.h>
#include <windows.h>

namespace klb {

namespace {

struct FileCloser {
    void operator()(std::FILE* file) const noexcept {
        std::fclose(file);
    }
};
using FilePtr = std::unique_ptr<std::FILE, FileCloser>;

class WindowsInputFile final : public InputFile {
public:
    explicit WindowsInputFile(FilePtr file) noexcept : file_(std::move(file)) {}

    std::optional<std::uint64_t> size() override {
        if (_fseeki64(file_.get(), 0, SEEK_END) != 0) {
            return std::nullopt;
        }
        const long long end = _ftelli64(file_.get());
        if (end < 0 || _fseeki64(file_.get(), 0, SEEK_SET) != 0) {
            return std::nullopt;
        }
        return static_cast<std::uint64_t>(end);
    }

    std::size_t read(char* buffer, std::size_t count) override {
        return std::fread(buffer, 1, count, file_.get());
    }

private:
    FilePtr file_;
};

// Device names such as "NUL" and pipes open like files.
bool isRegularFile(std::FILE* file) {
    const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(file)));
    return GetFileType(handle) == FILE_TYPE_DISK;
}

} // namespace

std::unique_ptr<InputFile> openInputFile(const std::string& path) {
    FilePtr file(_wfopen(toUtf16(path).c_str(), L"rb"));
    if (!file || !isRegularFile(file.get())) {
        return nullptr;
    }
    // The bytes go straight into the caller's buffer.
    std::setvbuf(file.get(), nullptr, _IONBF, 0);
    return std::make_unique<WindowsInputFile>(std::move(file));
}

std::optional<std::string> executablePath() {
    // A name that is cut comes back without a terminator on old systems: the last unit stays zero.
    constexpr DWORD kCapacity = 522;
    std::array<wchar_t, kCapacity + 1> name{};
    if (GetModuleFileNameW(nullptr, name.data(), kCapacity) == 0) {
        return std::nullopt;
    }
    return toUtf8(name.data());
}

std::optional<std::string> expandEnvironment(std::string_view pattern) {
    constexpr DWORD kCapacity = 260;
    // An expansion that does not fit is used as far as it was written; the last unit stays zero.
    std::array<wchar_t, kCapacity + 1> expansion{};
    const std::wstring source = toUtf16(std::string(pattern));
    if (ExpandEnvironmentStringsW(source.c_str(), expansion.data(), kCapacity) == 0) {
        return std::nullopt;
    }
    return toUtf8(expansion.data());
}

std::optional<std::string> deviceIdentity() {
    std::array<wchar_t, 256> value{};
    DWORD size = sizeof(value) - sizeof(wchar_t);
    const LSTATUS status =
        RegGetValueW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Cryptography", L"MachineGuid",
                     RRF_RT_REG_SZ | RRF_SUBKEY_WOW6464KEY, nullptr, value.data(), &size);
    if (status != ERROR_SUCCESS) {
        return std::nullopt;
    }
    std::string identity = toUtf8(value.data());
    std::erase(identity, '-');
    if (identity.empty()) {
        return std::nullopt;
    }
    return identity;
}

const SupportDirectory kSupportDirectory{"%PROGRAMDATA%\\Mosk\\Support\\",
                                         "C:\\ProgramData\\Mosk\\Support\\"};

char pathSeparator(std::string_view) noexcept {
    return '\\';
}

std::string toUtf8(std::wstring_view text) {
    const std::wstring source(text);
    std::string result(4 * source.size() + 1, '\0');
    if (result.size() > INT_MAX) {
        return {};
    }
    WideCharToMultiByte(CP_UTF8, 0, source.c_str(), static_cast<int>(source.size() + 1),
                        result.data(), static_cast<int>(result.size()), nullptr, nullptr);
    return result.c_str();
}

std::wstring toUtf16(const std::string& text) {
    std::wstring result(text.size() + 1, L'\0');
    if (result.size() > INT_MAX) {
        return {};
    }
    MultiByteToWideChar(CP_UTF8, 0, text.c_str(), static_cast<int>(text.size() + 1), result.data(),
                        static_cast<int>(result.size()));
    return result.c_str();
}

} // namespace klb
