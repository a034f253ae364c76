#include "judge.h"
#include "rows.h"

#include <cstdio>
#include <cstring>
#include <exception>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>

namespace {

/// A second thread that does nothing: a process that never had one gets a cheaper mutex.
class ParkedThread {
public:
    ParkedThread() : thread_([end = end_.get_future()] { end.wait(); }) {}
    ~ParkedThread() {
        end_.set_value();
        thread_.join();
    }
    ParkedThread(const ParkedThread&) = delete;
    ParkedThread& operator=(const ParkedThread&) = delete;

private:
    std::promise<void> end_;
    std::thread thread_;
};

struct Options {
    bool json = false;
    bool judged = true;
};

constexpr const char* kUsage =
    "usage: klb_bench [--json] [--no-verdicts] [--benchmark_filter=REGEX]\n"
    "\n"
    "  --json         print JSON\n"
    "  --no-verdicts  report all rows, judge none\n";

Options readOptions(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--json") == 0) {
            options.json = true;
        } else if (std::strcmp(argv[i], "--no-verdicts") == 0) {
            options.judged = false;
        } else {
            throw std::invalid_argument(std::string("unknown option: ") + argv[i]);
        }
    }
    return options;
}

std::unique_ptr<benchmark::BenchmarkReporter> makeReport(bool json) {
    if (json) {
        return std::make_unique<benchmark::JSONReporter>();
    }
    return std::make_unique<benchmark::ConsoleReporter>(benchmark::ConsoleReporter::OO_Tabular);
}

/// The exit status: 0 when all rows that are judged meet their goals.
int run(int argc, char** argv) {
    benchmark::Initialize(&argc, argv, [] { std::fputs(kUsage, stdout); });
    const Options options = readOptions(argc, argv);
    const ParkedThread parked;
    klb::bench::addQueryRows();
    klb::bench::addCountRows();
    klb::bench::addLoadRows();
    klb::bench::addProtectedRows();
    klb::bench::addRegistrationRows();
    klb::bench::addColdStartRows();
    klb::bench::addReportRows();
    klb::bench::checkThatGoalsHaveRows();
    klb::bench::Judge judge(makeReport(options.json), options.judged);
    if (benchmark::RunSpecifiedBenchmarks(&judge) == 0) {
        throw std::invalid_argument("no row has such a name");
    }
    std::fprintf(stderr, "%zu rows: %zu meet their goal, %zu miss it\n", judge.rows(), judge.met(),
                 judge.missed());
    return judge.missed() == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "klb_bench: %s\n", error.what());
        return 2;
    }
}
