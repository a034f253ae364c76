#include "platform/input_file.h"

#include "platform/text_encoding_windows.h"

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

} // namespace klb
