#include "publication.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace klb::test {
namespace {

/// What QueryInterface() must leave alone when it stores nothing.
void* const kUntouched = reinterpret_cast<void*>(0x1234);

struct Identifier {
    const char* name;
    const char* text;
    OBXGuid id;
};

const std::vector<Identifier> kPrimaryIdentifiers = {
    {"IKLBManager", "5E57F703-0FA1-3B38-BB53-51D77F6B53AC", KLB_IID_IKLBManager},
    {"IKLBManager1", "F30C2080-7F91-3696-8924-11AD0404D5C7", KLB_IID_IKLBManager1},
    {"IOBXUnknown", "00000000-0000-0000-C000-000000000046", KLB_IID_IOBXUnknown},
};
const Identifier kSingletonIdentifier = {"IOBXSingleton", "645D4784-5606-3461-A0BF-56FCDF67BA86",
                                         KLB_IID_IOBXSingleton};

const std::vector<Identifier> kOtherIdentifiers = {
    {"manager class", "9FAC2F14-CA6D-3DD0-8185-A710E2FA348E", KLB_ManagerClassId},
    {"manager registration", "309BB041-B486-32D5-BF1A-C9735C00ED71", KLB_ManagerRegistrationId},
    {"manager category", "EC66EC80-6986-11D5-9BA2-8DB4B42DFD37", KLB_ManagerCategoryId},
    {"IOBXMessageSink", "908C3A6B-F119-11D6-AD24-00039383008C", KLB_IID_IOBXMessageSink},
    {"IOBXComponentRegistry", "382B6A96-7FD0-11D6-BCFE-00306542A024",
     KLB_IID_IOBXComponentRegistry},
    {"IOBXComponentDefinition", "1718A226-7FD0-11D6-BD1D-00306542A024",
     KLB_IID_IOBXComponentDefinition},
    {"IOBXDefinitionRegistration", "CF855126-8A38-46E2-8444-141252DBF8FB",
     KLB_IID_IOBXDefinitionRegistration},
    {"IOBXSingletonRegistry", "C965741F-39A9-3707-BA90-9C3E1F163F6A",
     KLB_IID_IOBXSingletonRegistry},
    {"definition class", "6C422BFA-70E5-11D6-8CDD-0030658A6504", KLB_ComponentDefinitionClassId},
    {"null", "00000000-0000-0000-0000-000000000000", OBXGuid{}},
};

/// The manager by each of its faces, as the interface that both have in common.
std::vector<std::pair<std::string, IOBXUnknown*>> bothFaces(const Publication& published) {
    return {{"by the primary face", published.manager},
            {"by the singleton face", published.singleton}};
}

/// All identifiers that differ from this one in a single bit.
std::vector<OBXGuid> neighboursOf(const OBXGuid& id) {
    std::vector<OBXGuid> all;
    const auto add = [&](auto&& flip) {
        OBXGuid neighbour = id;
        flip(neighbour);
        all.push_back(neighbour);
    };
    for (unsigned bit = 0; bit < 32; ++bit) {
        add([bit](OBXGuid& guid) { guid.data1 ^= uint32_t{1} << bit; });
    }
    for (unsigned bit = 0; bit < 16; ++bit) {
        const uint16_t mask = static_cast<uint16_t>(1U << bit);
        add([mask](OBXGuid& guid) { guid.data2 = static_cast<uint16_t>(guid.data2 ^ mask); });
        add([mask](OBXGuid& guid) { guid.data3 = static_cast<uint16_t>(guid.data3 ^ mask); });
    }
    for (unsigned byte = 0; byte < 8; ++byte) {
        for (unsigned bit = 0; bit < 8; ++bit) {
            const uint8_t mask = static_cast<uint8_t>(1U << bit);
            add([byte, mask](OBXGuid& guid) {
                guid.data4[byte] = static_cast<uint8_t>(guid.data4[byte] ^ mask);
            });
        }
    }
    return all;
}

void expectUnknown(IOBXUnknown* face, const OBXGuid& id) {
    SCOPED_TRACE(textOf(id));
    void* out = kUntouched;
    EXPECT_EQ(face->QueryInterface(id, &out), 0);
    EXPECT_EQ(out, kUntouched);
}

TEST(ComponentIdentifiers, AreThePublishedOnes) {
    for (const auto& list : {kPrimaryIdentifiers, {kSingletonIdentifier}, kOtherIdentifiers}) {
        for (const Identifier& each : list) {
            EXPECT_EQ(textOf(each.id), each.text) << each.name;
        }
    }
}

TEST(QueryInterface, GivesThePrimaryFaceForEachOfItsIdentifiers) {
    const Publication published;
    void* const primary = published.framework.lastObject();
    for (const auto& [by, face] : bothFaces(published)) {
        SCOPED_TRACE(by);
        for (const Identifier& each : kPrimaryIdentifiers) {
            SCOPED_TRACE(each.name);
            void* out = kUntouched;
            EXPECT_EQ(face->QueryInterface(each.id, &out), 0);
            EXPECT_EQ(out, primary);
        }
    }
}

TEST(QueryInterface, GivesTheSingletonFace) {
    const Publication published;
    void* const primary = published.framework.lastObject();
    std::vector<void*> given;
    for (const auto& [by, face] : bothFaces(published)) {
        SCOPED_TRACE(by);
        void* out = kUntouched;
        EXPECT_EQ(face->QueryInterface(KLB_IID_IOBXSingleton, &out), 0);
        EXPECT_NE(out, kUntouched);
        EXPECT_NE(out, nullptr);
        EXPECT_NE(out, primary);
        given.push_back(out);
    }
    EXPECT_EQ(given[0], given[1]);
}

TEST(QueryInterface, AnswersAnUnknownIdentifierWithSuccessAndStoresNothing) {
    const Publication published;
    for (const auto& [by, face] : bothFaces(published)) {
        SCOPED_TRACE(by);
        for (const Identifier& each : kOtherIdentifiers) {
            expectUnknown(face, each.id);
        }
    }
}

TEST(QueryInterface, ComparesEveryBitOfAnIdentifier) {
    const Publication published;
    std::vector<Identifier> known = kPrimaryIdentifiers;
    known.push_back(kSingletonIdentifier);
    for (const Identifier& each : known) {
        SCOPED_TRACE(each.name);
        const std::vector<OBXGuid> neighbours = neighboursOf(each.id);
        ASSERT_EQ(neighbours.size(), 128U);
        for (const OBXGuid& neighbour : neighbours) {
            expectUnknown(published.manager, neighbour);
        }
    }
}

TEST(QueryInterface, RefusesANullOutputWhateverTheIdentifier) {
    const Publication published;
    for (const auto& [by, face] : bothFaces(published)) {
        SCOPED_TRACE(by);
        for (const auto& list : {kPrimaryIdentifiers, {kSingletonIdentifier}, kOtherIdentifiers}) {
            for (const Identifier& each : list) {
                EXPECT_EQ(codeOf(face->QueryInterface(each.id, nullptr)), kNullArgument)
                    << each.name;
            }
        }
    }
}

TEST(ManagerReferences, AreAlwaysOneAndNeverEndTheManager) {
    const Publication published;
    for (const auto& [by, face] : bothFaces(published)) {
        SCOPED_TRACE(by);
        for (int call = 0; call < 3; ++call) {
            EXPECT_EQ(face->AddRef(), 1U);
        }
        for (int call = 0; call < 10; ++call) {
            EXPECT_EQ(face->Release(), 1U);
        }
    }
    EXPECT_TRUE(KLB_IsInitialized());
    EXPECT_EQ(published.manager->RegisterToggle("/on", 1, "token"), 0);
    EXPECT_TRUE(KLB_GetToggle("/on"));
}

TEST(SingletonState, FollowsTheHostsProtocolAndNothingElse) {
    const Publication published;
    IOBXSingleton& singleton = *published.singleton;
    EXPECT_EQ(singleton.GetSingletonState(), 0U);
    EXPECT_EQ(singleton.InitializeSingleton(), 0);
    EXPECT_EQ(singleton.GetSingletonState(), 2U);
    EXPECT_EQ(singleton.InitializeSingleton(), 0);
    EXPECT_EQ(singleton.GetSingletonState(), 2U);
    EXPECT_EQ(singleton.FinalizeSingleton(), 0);
    EXPECT_EQ(singleton.GetSingletonState(), 4U);

    // The state is the host's own business: the manager works in each.
    EXPECT_EQ(published.manager->RegisterToggle("/on", 1, "token"), 0);
    EXPECT_TRUE(KLB_GetToggle("/on"));
    EXPECT_EQ(singleton.GetSingletonState(), 4U);
    EXPECT_EQ(singleton.InitializeSingleton(), 0);
    EXPECT_EQ(singleton.GetSingletonState(), 2U);
}

TEST(SingletonState, MayBeFinalBeforeItWasInitial) {
    const Publication published;
    EXPECT_EQ(published.singleton->FinalizeSingleton(), 0);
    EXPECT_EQ(published.singleton->GetSingletonState(), 4U);
}

TEST(SingletonState, StartsAfreshWithEachManager) {
    {
        const Publication published;
        published.singleton->InitializeSingleton();
    }
    const Publication published;
    EXPECT_EQ(published.singleton->GetSingletonState(), 0U);
}

} // namespace
} // namespace klb::test
