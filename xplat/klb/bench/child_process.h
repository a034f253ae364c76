#ifndef KLB_BENCH_CHILD_PROCESS_H
#define KLB_BENCH_CHILD_PROCESS_H

#include <string>
#include <vector>

namespace klb::bench {

struct ProgramResult {
    /// 0 when the program says that it succeeded.
    int status;
    std::string output;
};

/// Runs a program to its end.
ProgramResult runProgram(const std::string& program, const std::vector<std::string>& arguments);

/// Runs a program and gives what it prints. Throws when it fails.
std::string outputOf(const std::string& program, const std::vector<std::string>& arguments);

} // namespace klb::bench

#endif
