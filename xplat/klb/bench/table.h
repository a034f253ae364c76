#ifndef KLB_BENCH_TABLE_H
#define KLB_BENCH_TABLE_H

#include "rows.h"

#include <optional>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

namespace klb::bench {

enum class Format { kText, kJson };

/// Prints what the benchmarks measured as one table, each row with its goal and its verdict.
class Table : public benchmark::BenchmarkReporter {
public:
    /// \param judged Whether goals count; without them each row is only reported.
    Table(Format format, bool judged) : format_(format), judged_(judged) {}

    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;
    void Finalize() override;

    /// How many rows miss their goal or could not be measured.
    int missed() const noexcept {
        return missed_;
    }

private:
    enum class Verdict { kMet, kMissed, kReported, kNotCounted, kFailed };

    /// A row with what was measured.
    struct Line {
        Row row;
        std::optional<double> figure;
        std::optional<double> floor;
        std::optional<double> ratio;
        std::string failure;
        Verdict verdict;
    };

    static const char* nameOf(Verdict verdict) noexcept;
    Verdict judge(const Line& line) const;
    static void print(const Line& line);
    void printJson() const;

    Format format_;
    bool judged_;
    int missed_ = 0;
    int met_ = 0;
    std::vector<Line> lines_;
};

} // namespace klb::bench

#endif
