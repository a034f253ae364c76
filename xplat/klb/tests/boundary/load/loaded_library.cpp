#include "loaded_library.h"

#include <stdexcept>

namespace klb::test {

void* LoadedLibrary::either(const DecoratedName& name, void* itanium, void* microsoft) {
    if (itanium == nullptr && microsoft == nullptr) {
        throw std::runtime_error(std::string("not exported: ") + name.itanium);
    }
    if (itanium != nullptr && microsoft != nullptr && itanium != microsoft) {
        throw std::runtime_error(std::string("two functions: ") + name.itanium);
    }
    return itanium != nullptr ? itanium : microsoft;
}

} // namespace klb::test
