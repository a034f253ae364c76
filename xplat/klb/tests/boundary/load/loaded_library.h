#ifndef KLB_TESTS_BOUNDARY_LOAD_LOADED_LIBRARY_H
#define KLB_TESTS_BOUNDARY_LOAD_LOADED_LIBRARY_H

#include <string>

namespace klb::test {

/// A function's name as GCC, Clang and MinGW decorate it, and as Microsoft-compatible compilers do.
struct DecoratedName {
    const char* itanium;
    const char* microsoft;
};

/// The library, loaded at run time for the lifetime of this object.
class LoadedLibrary {
public:
    /// \param path The full path of the library file.
    explicit LoadedLibrary(const std::string& path);
    ~LoadedLibrary();
    LoadedLibrary(const LoadedLibrary&) = delete;
    LoadedLibrary& operator=(const LoadedLibrary&) = delete;

    /// An exported function, under whichever of its names this library exports. Throws when there
    /// is none, and when there are two that differ.
    template <class Function>
    Function* function(const DecoratedName& name) const {
        void* itanium = find(name.itanium);
        void* microsoft = find(name.microsoft);
        return reinterpret_cast<Function*>(either(name, itanium, microsoft));
    }

    /// Whether the process has the library file mapped, whoever loaded it.
    static bool isLoaded(const std::string& path);

private:
    void* find(const char* name) const;
    static void* either(const DecoratedName& name, void* itanium, void* microsoft);

    void* handle_;
};

} // namespace klb::test

#endif
