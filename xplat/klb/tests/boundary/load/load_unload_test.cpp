#include "loaded_library.h"
#include "process_resources.h"

#include "klb.h"
#include "temp_directory.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace klb::test {

namespace {

const std::string kLibraryPath = KLB_LIBRARY_PATH;

// An envelope around nothing: a salt and two blocks of zeros.
const std::string kProtectedFile = "U2FsdGVkX18A" + std::string(52, 'A') + "\n";

constexpr int kWarmUpRounds = 20;
constexpr int kRounds = 200;
// Less than one leaked object a round.
constexpr std::int64_t kMaxHeapGrowth = 1600;
// Less than one leaked page a round.
constexpr std::int64_t kMaxMappedGrowth = 400 * 1024;

std::vector<std::string>& messages() {
    static std::vector<std::string> all;
    return all;
}

int record(KLB_MessageType, const char* text) {
    messages().emplace_back(text);
    return 0;
}

/// The exported functions that a round calls.
struct Functions {
    explicit Functions(const LoadedLibrary& library)
        : init(library.function<decltype(KLB_Init)>({"_Z8KLB_InitPKcb", "?KLB_Init@@YAXPEBD_N@Z"})),
          term(library.function<decltype(KLB_Term)>({"_Z8KLB_Termv", "?KLB_Term@@YAXXZ"})),
          isInitialized(library.function<decltype(KLB_IsInitialized)>(
              {"_Z17KLB_IsInitializedv", "?KLB_IsInitialized@@YA_NXZ"})),
          initMessageProc(library.function<decltype(KLB_InitMessageProc)>(
              {"_Z19KLB_InitMessageProcPFi15KLB_MessageTypePKcE",
               "?KLB_InitMessageProc@@YAXP6AHW4KLB_MessageType@@PEBD@Z@Z"})),
          registerToggleFile(library.function<decltype(KLB_RegisterToggleFile)>(
              {"_Z22KLB_RegisterToggleFile18KLB_ToggleFileTypePKcS1_",
               "?KLB_RegisterToggleFile@@YAXW4KLB_ToggleFileType@@PEBD1@Z"})),
          registerToggle(library.function<decltype(KLB_RegisterToggle)>(
              {"_Z18KLB_RegisterTogglePKcbS0_", "?KLB_RegisterToggle@@YAXPEBD_N0@Z"})),
          getToggle(library.function<decltype(KLB_GetToggle)>(
              {"_Z13KLB_GetTogglePKc", "?KLB_GetToggle@@YA_NPEBD@Z"})),
          getDefaultToggleJson(library.function<decltype(KLB_GetDefaultToggleJson)>(
              {"_Z24KLB_GetDefaultToggleJsonPKcS0_Pcy",
               "?KLB_GetDefaultToggleJson@@YA_KPEBD0PEAD_K@Z"})) {}

    decltype(&KLB_Init) init;
    decltype(&KLB_Term) term;
    decltype(&KLB_IsInitialized) isInitialized;
    decltype(&KLB_InitMessageProc) initMessageProc;
    decltype(&KLB_RegisterToggleFile) registerToggleFile;
    decltype(&KLB_RegisterToggle) registerToggle;
    decltype(&KLB_GetToggle) getToggle;
    decltype(&KLB_GetDefaultToggleJson) getDefaultToggleJson;
};

/// Uses everything that takes resources: the manager, a file, the crypto library, a report and a
/// message.
void useLibrary(const Functions& klb, const std::string& protectedFile) {
    ASSERT_FALSE(klb.isInitialized());
    klb.initMessageProc(&record);
    klb.init("ACME-0042", true);
    klb.registerToggleFile(KLB_ToggleFileType_Unsupported, "labs", protectedFile.c_str());
    klb.registerToggle("/labs/canvas", true, "labs");
    EXPECT_TRUE(klb.getToggle("/labs/canvas"));
    EXPECT_NE(klb.getDefaultToggleJson("Editor", "2.1", nullptr, 0), 0u);
    const std::string unreadable = "registerToggleFile: The original KLB file was either corrupted "
                                   "or it was created for a different computer.\n in file: " +
                                   protectedFile;
    EXPECT_EQ(messages(), std::vector<std::string>{unreadable});
    messages().clear();
    klb.term();
    EXPECT_FALSE(klb.isInitialized());
}

/// Runs the body with the library loaded, and states that it is gone afterwards.
template <class Body>
void loadAndUnload(Body&& body) {
    ASSERT_FALSE(LoadedLibrary::isLoaded(kLibraryPath));
    {
        const LoadedLibrary library(kLibraryPath);
        ASSERT_TRUE(LoadedLibrary::isLoaded(kLibraryPath));
        ASSERT_NO_FATAL_FAILURE(body(Functions(library)));
    }
    ASSERT_FALSE(LoadedLibrary::isLoaded(kLibraryPath));
}

template <class Body>
void expectNoGrowth(Body&& body) {
    for (int round = 0; round < kWarmUpRounds; ++round) {
        ASSERT_NO_FATAL_FAILURE(loadAndUnload(body));
    }
    // Measuring takes resources of its own, once.
    processResources();
    const ProcessResources before = processResources();
    for (int round = 0; round < kRounds; ++round) {
        ASSERT_NO_FATAL_FAILURE(loadAndUnload(body));
    }
    const ProcessResources after = processResources();
    EXPECT_LE(after.heapBytes - before.heapBytes, kMaxHeapGrowth);
    EXPECT_LE(after.mappedBytes - before.mappedBytes, kMaxMappedGrowth);
    EXPECT_EQ(after.handles, before.handles);
}

TEST(LoadAndUnload, UnloadsForRealAndDoesNotGrow) {
    const TempDirectory directory;
    const std::string protectedFile = directory.write("labs.klb", kProtectedFile);
    expectNoGrowth([&](const Functions& klb) { useLibrary(klb, protectedFile); });
}

TEST(LoadAndUnload, UnloadsForRealAfterAnException) {
    for (int round = 0; round < kRounds; ++round) {
        ASSERT_NO_FATAL_FAILURE(loadAndUnload([](const Functions& klb) {
            EXPECT_THROW(klb.getToggle("/labs/canvas"), std::domain_error);
        }));
    }
}

TEST(LoadAndUnload, DoesNotGrowByExceptions) {
#if defined(__MINGW32__)
    GTEST_SKIP() << "MinGW's thread library, a part of the DLL, keeps some 1.6 KB and four handles "
                    "for each load in which an exception was thrown";
#else
    expectNoGrowth([](const Functions& klb) {
        EXPECT_THROW(klb.getToggle("/labs/canvas"), std::domain_error);
    });
#endif
}

} // namespace

} // namespace klb::test
