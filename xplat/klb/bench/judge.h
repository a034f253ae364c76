#ifndef KLB_BENCH_JUDGE_H
#define KLB_BENCH_JUDGE_H

#include "rows.h"

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

namespace klb::bench {

/// Labels each row of a report with its floor, its goal and its verdict.
class Judge : public benchmark::BenchmarkReporter {
public:
    /// \param judged Whether goals count; without them each row is only reported.
    Judge(std::unique_ptr<benchmark::BenchmarkReporter> report, bool judged)
        : report_(std::move(report)), judged_(judged) {}

    bool ReportContext(const Context& context) override {
        return report_->ReportContext(context);
    }
    void ReportRuns(const std::vector<Run>& runs) override;
    void Finalize() override {
        report_->Finalize();
    }

    std::size_t met() const noexcept {
        return met_;
    }
    /// How many rows miss their goal or could not be measured.
    std::size_t missed() const noexcept {
        return missed_;
    }
    std::size_t rows() const noexcept {
        return rows_;
    }

private:
    std::string verdictOf(const Run& run);

    std::unique_ptr<benchmark::BenchmarkReporter> report_;
    bool judged_;
    std::size_t rows_ = 0;
    std::size_t met_ = 0;
    std::size_t missed_ = 0;
};

} // namespace klb::bench

#endif
