#ifndef KLB_TESTS_MODEL_RANDOM_CALLS_H
#define KLB_TESTS_MODEL_RANDOM_CALLS_H

#include "dice.h"
#include "exports.h"
#include "random_computer.h"

#include <functional>
#include <string>
#include <vector>

namespace klb::test {

/// One call of a host.
struct Call {
    std::string description;
    /// Makes the call and gives what came of it, except for messages, as text.
    std::function<std::string(Exports&)> perform;
};

/// The calls of one host from its first to its last, which leaves the library uninitialised.
std::vector<Call> randomCalls(Dice& dice, const RandomComputer& computer);

} // namespace klb::test

#endif
