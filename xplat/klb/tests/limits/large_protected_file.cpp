#include "large_protected_file.h"

#include "paths.h"
#include "protected_file.h"

#include <fstream>
#include <stdexcept>
#include <string_view>

namespace klb::test {

namespace {

void writeFile(const std::filesystem::path& path, std::string_view bytes) {
    std::ofstream file(path, std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file) {
        throw std::runtime_error("cannot write " + toUtf8(path));
    }
}

} // namespace

void makeProtectedFile(const std::string& path, const ProtectedFileSizes& sizes) {
    std::string document = kDocumentBegin;
    const std::string end = kDocumentEnd;
    document.append(sizes.document - document.size() - end.size(), 't');
    document += end;
    const bench::ProtectedFile made =
        bench::protectDocument(document, std::string(sizes.systemId, 'i'));
    writeFile(fromUtf8(path), made.text);
    writeFile(fromUtf8(path).replace_filename("mosk.cert.pem"), bench::toPem(made.authority.get()));
}

} // namespace klb::test
