#ifndef KLB_TESTS_SUPPORT_CPU_TIME_H
#define KLB_TESTS_SUPPORT_CPU_TIME_H

namespace klb::test {

/// The CPU time that this process has used so far. std::clock() would be wall time on Windows.
double cpuSeconds();

} // namespace klb::test

#endif
