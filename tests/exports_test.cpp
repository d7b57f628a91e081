// Every exported member has a row: a member that is exported and never called fails here.
#include <gtest/gtest.h>

#include <fstream>
#include <set>

#include "engine.h"

TEST(Exports, EveryMemberHasARow) {
    std::set<std::string> named;
    for (const test::Row& row : test::rows()) named.insert(row.name);
    std::ifstream list(ZEL_TEST_EXPORTS);
    int members = 0;
    for (std::string symbol; std::getline(list, symbol);) {
        // The flag and the shell have the process tests.
        if (symbol.find("operator=") != std::string::npos || symbol.find("theSIMD") != std::string::npos ||
            symbol.find("isSIMD") != std::string::npos || symbol.find("forceSIMD") != std::string::npos)
            continue;
        ++members;
        EXPECT_EQ(named.count(symbol), 1u) << symbol << " is exported and never called";
    }
    EXPECT_EQ(members, 285);
}
