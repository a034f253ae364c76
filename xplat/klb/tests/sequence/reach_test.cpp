#include "decode.h"
#include "random_bytes.h"
#include "sequence.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace klb::test {

namespace {

constexpr std::uint64_t kFirstSeed = 5'000'000;
constexpr std::uint64_t kSequences = 100;

/// What must come up in the outcomes, as it is printed there.
const std::vector<std::string> kWanted = {
    "KLB_Init: sysID must not be NULL.",
    "KLB_SetOverridePath: KLB_Init must be called first.",
    "KLB_SetCertificateData: KLB_Init must be called first.",
    "KLB_InitOBX: KLB_Init must be called first.",
    "KLB_RegisterToggleFile: KLB_Init must be called first.",
    "KLB_AddToggleComment: KLB_Init must be called first.",
    "KLB_InitOBX: pHostUnk must not be NULL.",
    "setCertificateData: certificate data has already been set.",
    "setCertificateData: must be called before any registration routines.",
    "setCertificateData: can't read certificate from the certificate data provided.",
    "setOverridePath: overridePath cannot be NULL.",
    "setOverridePath: overridePath cannot be empty.",
    "setOverridePath: override path has already been set.",
    "setOverridePath: must be called before any registration routines.",
    "registerToggleFile: toggleFileType is an unknown toggle file type.",
    "registerToggleFile: toggleFileToken cannot be NULL.",
    "registerToggleFile: toggleFile cannot be NULL.",
    "registerToggleFile: toggleFile cannot be empty.",
    "registerToggleFile: toggle file path location as already been set to '",
    "registerToggleFile: toggle file path location as already been registered to '",
    "isFeatureToggleFileRegistered: toggleFileToken cannot be NULL.",
    "registerToggle: toggleKey cannot be NULL.",
    "registerToggle: toggleFileToken cannot be NULL.",
    "/a already registred in ",
    "getToggle: toggleKey cannot be NULL.",
    "getToggle: key cannot be an empty string.",
    "getToggle: key must start with '/' character.",
    "getToggle: key is a mutable.",
    "getToggle: key is is immutable after initialization.",
    "type 2, \"getToggle: key, /a, was not registered. Returning false.\"",
    "setDynamicToggle: toggleKey cannot be NULL.",
    "setDynamicToggle: key cannot be an empty string.",
    "setDynamicToggle: key must start with '/' character.",
    "setDynamicToggle: key was not registered as a mutable so it cannot be changed after "
    "initialization.",
    "addToggleProperty: toggleKey cannot be NULL.",
    "addToggleProperty: key cannot be an empty string.",
    "addToggleProperty: key must start with '/' character.",
    "addToggleProperty: propertyValue cannot be NULL.",
    "addToggleProperty: key, /a, was not registered. Please call RegisterToggle first.",
    "registerToggleFile: FileTooSmall in file: ",
    "registerToggleFile: ParseErrorDocumentEmpty in file: ",
    "registerToggleFile: ParseErrorDocumentRootNotSingular in file: ",
    "registerToggleFile: ParseErrorValueInvalid in file: ",
    "registerToggleFile: ParseErrorObjectMissName in file: ",
    "registerToggleFile: ParseErrorObjectMissColon in file: ",
    "registerToggleFile: ParseErrorObjectMissCommaOrCurlyBracket in file: ",
    "registerToggleFile: ParseErrorArrayMissCommaOrSquareBracket in file: ",
    "registerToggleFile: ParseErrorStringUnicodeEscapeInvalidHex in file: ",
    "registerToggleFile: ParseErrorStringUnicodeSurrogateInvalid in file: ",
    "registerToggleFile: ParseErrorStringEscapeInvalid in file: ",
    "registerToggleFile: ParseErrorStringMissQuotationMark in file: ",
    "registerToggleFile: ParseErrorNumberTooBig in file: ",
    "registerToggleFile: ParseErrorNumberMissFraction in file: ",
    "registerToggleFile: ParseErrorNumberMissExponent in file: ",
    "registerToggleFile: ErrorDocumentRootMustBeObject in file: ",
    "registerToggleFile: ErrorHeaderRootMustBeObject in file: ",
    "registerToggleFile: ErrorSystemIdMustBeString in file: ",
    "registerToggleFile: ErrorSystemIdDoesNotMatch in file: ",
    "registerToggleFile: error reading input file\\x0A",
    "registerToggleFile: bad magic number\\x0A",
    "registerToggleFile: The original KLB file was either corrupted or it was created for a "
    "different computer.\\x0A",
    "registerToggleFile: Error reading S/MIME message\\x0A",
    "registerToggleFile: Verification failure\\x0A",
    "CIT_OVERRIDE.KLB at offset: ",
    "threw std::invalid_argument",
    "threw std::domain_error",
    "threw the callback's exception",
    "threw the int 42",
    "threw the long -",
    "threw the framework's exception",
    "first callback: type 1",
    "second callback: type 1",
    "framework: sink.Report(1, thrown by the callback)",
    "framework: registration.Register(created)",
    "framework: singletons.UnregisterSingleton(manager class)",
    "returned 0x0 with the value 1",
    "returned 0x80000003 with the value 7",
    "returned 0x8000FFFF with the value 0",
    "returned 0x80000003\n",
    "returned 0x1\n",
    "not published",
    "and the manager",
    "and another face",
    "and nothing",
    "cit.feature.overrides : ",
    "\\\"KLB_ToggleComment\\\": \\\"a comment\\\"",
    "\\\"KLB_ToggleFiles\\\": {}",
    "\\\"KLB_UnsupportedFeatures\\\"",
    "\\\"b\\\": {\\x0A"
    "\"",
    "returned 0 and ",
    "returned 1 and \"###\\x00",
};

TEST(RandomSequencesReach, EveryOutcomeThatIsWanted) {
    std::set<std::string> missing(kWanted.begin(), kWanted.end());
    std::uint64_t seed = kFirstSeed;
    for (; seed < kFirstSeed + kSequences && !missing.empty(); ++seed) {
        for (const std::string& outcome : modelOutcomes(decodeCalls(randomBytes(seed)))) {
            std::erase_if(missing, [&](const std::string& wanted) {
                return outcome.find(wanted) != std::string::npos;
            });
        }
    }
    for (const std::string& wanted : missing) {
        ADD_FAILURE() << "never came up: " << wanted;
    }
}

} // namespace

} // namespace klb::test
