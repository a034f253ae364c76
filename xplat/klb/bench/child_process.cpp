#include "child_process.h"

#include <cstdio>
#include <stdexcept>
#include <utility>

namespace klb::bench {

namespace {

#if defined(_WIN32)

std::FILE* openOutputOf(const std::string& command) {
    // The command interpreter takes the outer quotes away.
    return _popen(("\"" + command + "\"").c_str(), "rb");
}

int closeOutput(std::FILE* output) {
    return _pclose(output);
}

std::string quoted(const std::string& text) {
    return "\"" + text + "\"";
}

#else

std::FILE* openOutputOf(const std::string& command) {
    return popen(command.c_str(), "r");
}

int closeOutput(std::FILE* output) {
    return pclose(output);
}

std::string quoted(const std::string& text) {
    std::string result = "'";
    for (const char c : text) {
        result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return result + "'";
}

#endif

} // namespace

ProgramResult runProgram(const std::string& program, const std::vector<std::string>& arguments) {
    std::string command = quoted(program);
    for (const std::string& argument : arguments) {
        command += " " + quoted(argument);
    }
    std::FILE* const output = openOutputOf(command);
    if (output == nullptr) {
        throw std::runtime_error("cannot run " + program);
    }
    std::string text;
    char piece[256];
    while (const std::size_t size = std::fread(piece, 1, sizeof piece, output)) {
        text.append(piece, size);
    }
    return {closeOutput(output), std::move(text)};
}

std::string outputOf(const std::string& program, const std::vector<std::string>& arguments) {
    ProgramResult result = runProgram(program, arguments);
    if (result.status != 0) {
        throw std::runtime_error(program + " failed");
    }
    return std::move(result.output);
}

} // namespace klb::bench
