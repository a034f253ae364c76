#include "configuration.h"
#include "measure.h"
#include "plain_records.h"
#include "rows.h"
#include "toggle_sets.h"

#include "klb.h"

#include <algorithm>
#include <string>
#include <vector>

namespace klb::bench {

namespace {

/// A figure comes from at least so many toggles, in several sessions if need be.
constexpr std::size_t kTogglesOfRun = 10'000;

struct Case {
    Overrides overrides;
    Shape shape;
    bool randomOrder;
};

std::string nameOf(const Case& each) {
    std::string name = each.overrides == Overrides::kOn ? "register with overrides" : "register";
    name += each.shape.groupSize == 0 ? ", flat" : ", groups";
    name += each.randomOrder ? ", random order" : ", key order";
    return name;
}

/// Toggles to register, and the files that set them.
class Registrations {
public:
    Registrations(const Case& each, std::size_t count)
        : configuration_(each.shape, count),
          overrides_(each.overrides),
          keys_(makeKeys(each.shape, count)) {
        if (each.randomOrder) {
            keys_ = shuffled(std::move(keys_));
        }
    }

    /// Seconds that the library takes for each toggle.
    double timeLibrary() const {
        return timeRuns([&] {
            const LoadedSession session(configuration_, overrides_);
            return secondsOf([&] {
                for (const std::string& key : keys_) {
                    KLB_RegisterToggle(key.c_str(), false, kToken);
                }
            });
        });
    }

    /// Seconds that the plain records take for each toggle.
    double timePlainRecords() const {
        return timeRuns([&] {
            PlainRecords records;
            return secondsOf([&] { records.addAll(keys_); });
        });
    }

private:
    template <class Run>
    double timeRuns(Run&& run) const {
        const std::size_t runs = std::max<std::size_t>(1, kTogglesOfRun / keys_.size());
        return meanOf(runs, run) / static_cast<double>(keys_.size());
    }

    Configuration configuration_;
    Overrides overrides_;
    std::vector<std::string> keys_;
};

void compareWithRecords(benchmark::State& state, const Case& each, std::size_t count) {
    const Registrations registrations(each, count);
    measurePairs(
        state, [&] { return registrations.timeLibrary(); },
        [&] { return registrations.timePlainRecords(); });
}

/// How much of the growth with the number of toggles is that of the maps alone.
void comparePlainRecordsWithThousand(benchmark::State& state, const Case& each) {
    const Registrations many(each, kLargeCount);
    const Registrations thousand(each, 1'000);
    measurePairs(
        state, [&] { return many.timePlainRecords(); },
        [&] { return thousand.timePlainRecords(); });
}

void compareWithThousand(benchmark::State& state, const Case& each) {
    const Registrations many(each, kLargeCount);
    const Registrations thousand(each, 1'000);
    measurePairs(
        state, [&] { return many.timeLibrary(); }, [&] { return thousand.timeLibrary(); });
}

void addRows(const Case& each) {
    const std::string name = nameOf(each);
    for (const std::size_t count : kCounts) {
        addRow(name, floors::kRecords, count, count == kLargeCount ? Pairs::kFew : Pairs::kSome,
               [each, count](auto& state) { compareWithRecords(state, each, count); });
    }
    addRow(name, floors::kThousand, kLargeCount, Pairs::kFew,
           [each](auto& state) { compareWithThousand(state, each); });
}

} // namespace

void addRegistrationRows() {
    for (const bool randomOrder : {false, true}) {
        addRow(randomOrder ? "plain records, random order" : "plain records, key order",
               floors::kThousand, kLargeCount, Pairs::kFew, [randomOrder](auto& state) {
                   comparePlainRecordsWithThousand(state, {Overrides::kOff, kGroups, randomOrder});
               });
    }
    for (const Overrides overrides : {Overrides::kOff, Overrides::kOn}) {
        for (const Shape& shape : {kFlat, kGroups}) {
            for (const bool randomOrder : {false, true}) {
                addRows({overrides, shape, randomOrder});
            }
        }
    }
}

} // namespace klb::bench
