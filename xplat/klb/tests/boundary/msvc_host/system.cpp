// What the host needs of Windows and of the runtime library that it does without.
#include "system.h"

namespace {

using Handle = void*;
using Bool = int;
using Dword = unsigned long;

constexpr Dword kStdOutput = static_cast<Dword>(-11);
constexpr Dword kGenericWrite = 0x40000000;
constexpr Dword kCreateAlways = 2;
constexpr Dword kAttributeNormal = 0x80;

} // namespace

extern "C" {

__declspec(dllimport) Bool CloseHandle(Handle);
__declspec(dllimport) Bool CreateDirectoryA(const char*, void*);
__declspec(dllimport) Handle CreateFileA(const char*, Dword, Dword, void*, Dword, Dword, Handle);
__declspec(dllimport) Bool DeleteFileA(const char*);
[[noreturn]] __declspec(dllimport) void ExitProcess(unsigned);
__declspec(dllimport) Dword GetCurrentProcessId();
__declspec(dllimport) Handle GetStdHandle(Dword);
__declspec(dllimport) Dword GetTempPathA(Dword, char*);
__declspec(dllimport) Bool RemoveDirectoryA(const char*);
__declspec(dllimport) Bool WriteFile(Handle, const void*, Dword, Dword*, void*);

// The compiler calls these by itself.
void* memset(void* to, int value, decltype(sizeof 0) count) {
    auto* out = static_cast<volatile unsigned char*>(to);
    while (count-- != 0) {
        *out++ = static_cast<unsigned char>(value);
    }
    return to;
}

void* memcpy(void* to, const void* from, decltype(sizeof 0) count) {
    auto* out = static_cast<volatile unsigned char*>(to);
    const auto* in = static_cast<const unsigned char*>(from);
    while (count-- != 0) {
        *out++ = *in++;
    }
    return to;
}

int _purecall() {
    host::print("pure virtual call\n");
    ExitProcess(3);
}

} // extern "C"

namespace host {

void print(const char* text) {
    Dword written = 0;
    WriteFile(GetStdHandle(kStdOutput), text, lengthOf(text), &written, nullptr);
}

void exitProcess(unsigned code) {
    ExitProcess(code);
}

TempDirectory::TempDirectory() {
    char parent[512];
    const Dword length = GetTempPathA(sizeof parent, parent);
    if (length == 0 || length >= sizeof parent) {
        print("no temporary directory\n");
        exitProcess(2);
    }
    path_.append(parent).append("klb-host-").append(static_cast<unsigned>(GetCurrentProcessId()));
    if (CreateDirectoryA(path_.get(), nullptr) == 0) {
        print("a directory could not be made\n");
        exitProcess(2);
    }
}

TempDirectory::~TempDirectory() {
    while (count_ != 0) {
        DeleteFileA(files_[--count_].get());
    }
    RemoveDirectoryA(path_.get());
}

Text TempDirectory::pathOf(const char* name) const {
    return Text(path_).append("\\").append(name);
}

Text TempDirectory::write(const char* name, const char* content) {
    const Text file = pathOf(name);
    Handle const handle = CreateFileA(file.get(), kGenericWrite, 0, nullptr, kCreateAlways,
                                      kAttributeNormal, nullptr);
    Dword written = 0;
    const Bool done = WriteFile(handle, content, lengthOf(content), &written, nullptr);
    CloseHandle(handle);
    if (done == 0 || written != lengthOf(content) || count_ == kMaxFiles) {
        print("a file could not be written\n");
        exitProcess(2);
    }
    files_[count_++] = file;
    return file;
}

} // namespace host
