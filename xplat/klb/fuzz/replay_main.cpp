// Runs a fuzz target once for each input: files, and directories with all files below them.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerInitialize(int* argumentCount, char*** arguments);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> inputsAt(const fs::path& path) {
    if (!fs::is_directory(path)) {
        return {path};
    }
    std::vector<fs::path> inputs;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(path)) {
        if (entry.is_regular_file()) {
            inputs.push_back(entry.path());
        }
    }
    std::sort(inputs.begin(), inputs.end());
    return inputs;
}

void replay(const fs::path& input) {
    std::ifstream file(input, std::ios::binary);
    if (!file) {
        throw std::runtime_error("cannot open " + input.string());
    }
    const std::vector<char> bytes(std::istreambuf_iterator<char>(file), {});
    // Said beforehand: the target may end the program.
    std::printf("%s\n", input.string().c_str());
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

int run(int argumentCount, char** arguments) {
    LLVMFuzzerInitialize(&argumentCount, &arguments);
    std::size_t count = 0;
    for (int i = 1; i < argumentCount; ++i) {
        for (const fs::path& input : inputsAt(arguments[i])) {
            replay(input);
            ++count;
        }
    }
    if (count == 0) {
        throw std::runtime_error("there are no inputs; give files or directories");
    }
    std::printf("%zu inputs replayed\n", count);
    return 0;
}

} // namespace

int main(int argumentCount, char** arguments) {
    try {
        return run(argumentCount, arguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
