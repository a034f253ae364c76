#ifndef KLB_TESTS_SEQUENCE_SEQUENCE_H
#define KLB_TESTS_SEQUENCE_SEQUENCE_H

#include "call.h"
#include "library_model.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace klb::test {

/// The first call of a sequence that the library answers otherwise than the model.
struct Difference {
    /// Its place in the sequence.
    std::size_t index = 0;
    std::string call;
    std::string expected;
    std::string actual;
};

/// Makes what the library is compared with.
using MakeModel = std::function<std::unique_ptr<Exports>(const Surroundings&)>;

std::unique_ptr<Exports> makeLibraryModel(const Surroundings& surroundings);

/// Makes the calls on the library and on a model, up to the first that they answer differently. The
/// library is uninitialised before and afterwards. Where an outcome depends on chance, the call is
/// left out and both are terminated.
std::optional<Difference> runSequence(std::span<const Call> calls,
                                      const MakeModel& makeModel = makeLibraryModel);

/// What the model makes of each call; empty for what happens to the computer.
std::vector<std::string> modelOutcomes(std::span<const Call> calls);

/// A sequence with a difference, without the calls that it can do without.
std::vector<Call> shortened(std::vector<Call> calls, const MakeModel& makeModel = makeLibraryModel);

/// A sequence with a difference, for the reader.
std::string described(const std::vector<Call>& calls, const Difference& difference);

} // namespace klb::test

#endif
