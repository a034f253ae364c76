#include "sequence.h"

#include "computer.h"
#include "registry_model.h"
#include "side.h"

#include <algorithm>
#include <utility>

namespace klb::test {

namespace {

/// One for all sequences, so that paths are the same when one is repeated.
Computer& theComputer() {
    static Computer computer;
    return computer;
}

/// Ends whatever a side has begun.
void terminate(Side& side) {
    side.framework().answerEverything();
    side.exports().term();
}

/// The library and its model beside each other.
class Comparison {
public:
    explicit Comparison(const MakeModel& makeModel) : model_(makeModel(computer_.surroundings())) {
        computer_.reset();
    }
    ~Comparison() {
        library_.initMessageProc(nullptr);
        terminateBoth();
    }
    Comparison(const Comparison&) = delete;
    Comparison& operator=(const Comparison&) = delete;

    std::optional<Difference> make(const Call& call) {
        if (call.happen) {
            call.happen(computer_);
            return std::nullopt;
        }
        try {
            Difference difference;
            difference.expected = modelSide_.outcomeOf(call.make);
            difference.actual = librarySide_.outcomeOf(call.make);
            if (difference.actual == difference.expected) {
                return std::nullopt;
            }
            difference.call = call.text;
            return difference;
        } catch (const DependsOnChance&) {
            terminateBoth();
            return std::nullopt;
        }
    }

private:
    void terminateBoth() {
        terminate(modelSide_);
        terminate(librarySide_);
    }

    Computer& computer_ = theComputer();
    LibraryExports library_;
    std::unique_ptr<Exports> model_;
    Side librarySide_{library_, computer_};
    Side modelSide_{*model_, computer_};
};

} // namespace

std::unique_ptr<Exports> makeLibraryModel(const Surroundings& surroundings) {
    return std::make_unique<LibraryModel>(surroundings);
}

std::optional<Difference> runSequence(std::span<const Call> calls, const MakeModel& makeModel) {
    Comparison comparison(makeModel);
    for (std::size_t i = 0; i < calls.size(); ++i) {
        if (std::optional<Difference> difference = comparison.make(calls[i])) {
            difference->index = i;
            return difference;
        }
    }
    return std::nullopt;
}

std::vector<std::string> modelOutcomes(std::span<const Call> calls) {
    Computer& computer = theComputer();
    computer.reset();
    LibraryModel model(computer.surroundings());
    Side side(model, computer);
    std::vector<std::string> outcomes;
    for (const Call& call : calls) {
        outcomes.emplace_back();
        if (call.happen) {
            call.happen(computer);
            continue;
        }
        try {
            outcomes.back() = side.outcomeOf(call.make);
        } catch (const DependsOnChance&) {
            terminate(side);
        }
    }
    terminate(side);
    return outcomes;
}

std::vector<Call> shortened(std::vector<Call> calls, const MakeModel& makeModel) {
    const auto cut = [&](const std::vector<Call>& sequence) {
        const std::optional<Difference> difference = runSequence(sequence, makeModel);
        return difference ? difference->index + 1 : 0;
    };
    calls.resize(cut(calls), Call{});
    for (std::size_t size = calls.size() / 2; size > 0;) {
        bool isShorter = false;
        for (std::size_t begin = 0; begin < calls.size();) {
            const std::size_t end = std::min(begin + size, calls.size());
            std::vector<Call> fewer(calls.begin(),
                                    calls.begin() + static_cast<std::ptrdiff_t>(begin));
            fewer.insert(fewer.end(), calls.begin() + static_cast<std::ptrdiff_t>(end),
                         calls.end());
            if (const std::size_t length = cut(fewer)) {
                fewer.resize(length, Call{});
                calls = std::move(fewer);
                isShorter = true;
            } else {
                begin = end;
            }
        }
        // The last calls that can be done without may show only when others are gone.
        if (size > 1 || !isShorter) {
            size /= 2;
        }
    }
    return calls;
}

std::string described(const std::vector<Call>& calls, const Difference& difference) {
    std::string text;
    for (const Call& call : calls) {
        text += call.text + "\n";
    }
    return text + "-- expected of the last call:\n" + difference.expected + "-- actual:\n" +
           difference.actual;
}

} // namespace klb::test
