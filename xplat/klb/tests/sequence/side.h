#ifndef KLB_TESTS_SEQUENCE_SIDE_H
#define KLB_TESTS_SEQUENCE_SIDE_H

#include "computer.h"
#include "exports.h"
#include "fake_framework.h"

#include <functional>
#include <string>

namespace klb::test {

/// The message callbacks that a host may install.
enum class Callback { None, First, Second, ThrowsStandardException, ThrowsNumber };

KLB_MessageProc procOf(Callback callback);

/// The library or its model, with a component framework of its own.
class Side {
public:
    /// The exports and the computer must outlive the side.
    Side(Exports& exports, const Computer& computer);
    Side(const Side&) = delete;
    Side& operator=(const Side&) = delete;

    /// What comes of a call: its result or what it throws, the messages and the calls of the
    /// framework that it makes, in their order, and the references that are held afterwards. Lets
    /// DependsOnChance out.
    std::string outcomeOf(const std::function<std::string(Side&)>& call);

    Exports& exports() {
        return exports_;
    }
    const Computer& computer() const {
        return computer_;
    }
    FakeFramework& framework() {
        return framework_;
    }

private:
    Exports& exports_;
    const Computer& computer_;
    FakeFramework framework_;
    std::string events_;
};

} // namespace klb::test

#endif
