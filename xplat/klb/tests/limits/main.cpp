// The table of limits, whose rows are tests: CTest runs them shortened, `--table` runs them whole.
#include "large_protected_file.h"
#include "limit_row.h"
#include "limits_table.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

namespace {

int run(int count, char** arguments) {
    testing::InitGoogleTest(&count, arguments);
    const std::vector<std::string> options(arguments + 1, arguments + count);
    const std::string mode = options.empty() ? "" : options.front();
    if (mode == "--table" || mode == "--markdown") {
        const bool good = klb::test::printLimits(
            arguments[0],
            mode == "--table" ? klb::test::TableFormat::kText : klb::test::TableFormat::kMarkdown,
            {options.begin() + 1, options.end()});
        return good ? 0 : 1;
    }
    if (mode == klb::test::kMakeProtectedFile && options.size() == 4) {
        klb::test::makeProtectedFile(options[1],
                                     {std::stoull(options[2]), std::stoull(options[3])});
        return 0;
    }
    if (mode == "--whole") {
        klb::test::LimitRow::setWhole();
    }
    return RUN_ALL_TESTS();
}

} // namespace

int main(int count, char** arguments) {
    try {
        return run(count, arguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "klb_limits: %s\n", error.what());
        return 2;
    }
}
