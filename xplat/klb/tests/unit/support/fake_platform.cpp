#include "support/fake_platform.h"

#include <algorithm>

namespace klb::test {

namespace {

FakePlatform* current = nullptr;

class FakeInputFile final : public InputFile {
public:
    explicit FakeInputFile(FakeFile& file) : file_(file) {}

    std::optional<std::uint64_t> size() override {
        if (file_.sizeUnknown) {
            return std::nullopt;
        }
        const std::uint64_t size = file_.claimedSize.value_or(file_.bytes.size());
        if (file_.afterSize) {
            file_.afterSize(file_);
        }
        return size;
    }

    std::size_t read(char* buffer, std::size_t count) override {
        const std::size_t begin = std::min(position_, file_.bytes.size());
        const std::size_t copied = file_.bytes.copy(buffer, count, begin);
        position_ = begin + copied;
        file_.bytesRead += copied;
        return copied;
    }

private:
    FakeFile& file_;
    std::size_t position_ = 0;
};

} // namespace

FakePlatform::FakePlatform()
    : services_{[] { return current->executablePath; },
                [](std::string_view) { return current->supportDirectory; },
                [](const std::string& path) -> std::unique_ptr<InputFile> {
                    const auto file = current->files.find(path);
                    if (file == current->files.end()) {
                        return nullptr;
                    }
                    ++file->second.opened;
                    return std::make_unique<FakeInputFile>(file->second);
                },
                [] { return current->deviceIdentity; }} {
    current = this;
}

FakePlatform::~FakePlatform() {
    current = nullptr;
}

} // namespace klb::test
