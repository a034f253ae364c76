// Tests that count instructions: started by hand or by CTest, the program starts itself again under
// Callgrind.
#include "instruction_counter.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

int main(int count, char** arguments) {
    // GoogleTest takes its own arguments out.
    std::vector<char*> all(arguments, arguments + count + 1);
    testing::InitGoogleTest(&count, arguments);
    if (GTEST_FLAG_GET(list_tests) || klb::test::runsUnderCallgrind()) {
        return RUN_ALL_TESTS();
    }
    return klb::test::runUnderCallgrind(all.data());
}
