#ifndef KLB_TESTS_SUPPORT_QUIET_FRAMEWORK_H
#define KLB_TESTS_SUPPORT_QUIET_FRAMEWORK_H

#include "IKLBManager.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <iterator>

namespace klb::test {

/// A host's component framework that takes no memory while it is called, and counts references. It
/// knows no class beforehand and refuses nothing. Synchronised by the library's lock, under which
/// it is called.
class QuietFramework {
public:
    using Report = void (*)(const char* text);

    /// \param report Gets the texts of the message sink.
    explicit QuietFramework(Report report) : sink_(*this, report) {}
    QuietFramework(const QuietFramework&) = delete;
    QuietFramework& operator=(const QuietFramework&) = delete;

    /// What a host passes to KLB_InitOBX().
    IOBXUnknown* host() noexcept {
        return &identity_;
    }

    /// The manager while it is published, else null. May be asked by any thread.
    IKLBManager* manager() const noexcept {
        return manager_;
    }

    /// How many references the library holds.
    int references() const noexcept {
        return references_;
    }

private:
    static bool isSame(const OBXGuid& left, const OBXGuid& right) noexcept {
        return left.data1 == right.data1 && left.data2 == right.data2 &&
               left.data3 == right.data3 &&
               std::equal(std::begin(left.data4), std::end(left.data4), std::begin(right.data4));
    }

    OBXResult find(const OBXGuid& iid, void** out) {
        const struct {
            const OBXGuid& iid;
            void* interface;
        } interfaces[] = {
            {KLB_IID_IOBXUnknown, static_cast<IOBXUnknown*>(&identity_)},
            {KLB_IID_IOBXMessageSink, static_cast<IOBXMessageSink*>(&sink_)},
            {KLB_IID_IOBXComponentRegistry, static_cast<IOBXComponentRegistry*>(&components_)},
            {KLB_IID_IOBXDefinitionRegistration,
             static_cast<IOBXDefinitionRegistration*>(&registration_)},
            {KLB_IID_IOBXSingletonRegistry, static_cast<IOBXSingletonRegistry*>(&singletons_)},
        };
        for (const auto& each : interfaces) {
            if (isSame(each.iid, iid)) {
                *out = each.interface;
                ++references_;
                return 0;
            }
        }
        return kNoInterface;
    }

    template <class Interface>
    class Object : public Interface {
    public:
        explicit Object(QuietFramework& framework) : framework_(framework) {}
        OBXResult QueryInterface(const OBXGuid& iid, void** out) override {
            return framework_.find(iid, out);
        }
        uint32_t AddRef() override {
            return static_cast<uint32_t>(++framework_.references_);
        }
        uint32_t Release() override {
            return static_cast<uint32_t>(--framework_.references_);
        }

    protected:
        QuietFramework& framework_;
    };

    class Sink final : public Object<IOBXMessageSink> {
    public:
        Sink(QuietFramework& framework, QuietFramework::Report report)
            : Object(framework), report_(report) {}
        OBXResult Report(uint32_t /*type*/, const char* text) override {
            report_(text);
            return 0;
        }

    private:
        QuietFramework::Report report_;
    };

    class Components final : public Object<IOBXComponentRegistry> {
    public:
        using Object::Object;
        OBXResult FindDefinition(const OBXGuid& /*classId*/, const OBXGuid& /*iid*/,
                                 void** /*out*/) override {
            return kNotRegistered;
        }
        OBXResult CreateInstance(const OBXGuid& /*classId*/, IOBXUnknown* /*outer*/,
                                 const OBXGuid& /*iid*/, void** out) override {
            *out = static_cast<IOBXComponentDefinition*>(&framework_.definition_);
            ++framework_.references_;
            return 0;
        }
    };

    class Definition final : public Object<IOBXComponentDefinition> {
    public:
        using Object::Object;
        OBXResult Define(const OBXGuid& /*classId*/, const OBXGuid& /*categoryId*/,
                         uint32_t /*first*/, uint32_t /*second*/, const OBXGuid& /*registrationId*/,
                         const wchar_t* /*name*/) override {
            return 0;
        }
    };

    class Registration final : public Object<IOBXDefinitionRegistration> {
    public:
        using Object::Object;
        OBXResult Register(IOBXComponentDefinition* /*definition*/) override {
            return 0;
        }
    };

    class Singletons final : public Object<IOBXSingletonRegistry> {
    public:
        using Object::Object;
        OBXResult RegisterSingleton(const OBXGuid& /*classId*/, const OBXGuid& /*registrationId*/,
                                    IOBXUnknown* object) override {
            void* manager = nullptr;
            const OBXResult result = object->QueryInterface(KLB_IID_IKLBManager, &manager);
            framework_.manager_ = static_cast<IKLBManager*>(manager);
            return result;
        }
        OBXResult UnregisterSingleton(const OBXGuid& /*classId*/) override {
            framework_.manager_ = nullptr;
            return 0;
        }
    };

    static constexpr auto kNoInterface = static_cast<OBXResult>(0x80000002U);
    static constexpr auto kNotRegistered = static_cast<OBXResult>(0x8000000DU);

    Object<IOBXUnknown> identity_{*this};
    Sink sink_;
    Components components_{*this};
    Definition definition_{*this};
    Registration registration_{*this};
    Singletons singletons_{*this};
    std::atomic<IKLBManager*> manager_{nullptr};
    int references_ = 0;
};

} // namespace klb::test

#endif
