#pragma once
// Table-driven tests name each row by the behaviour it pins: every row struct starts with
// `const char* pszBehaviour`, which becomes the test's name and its printed parameter.

#include <cctype>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

namespace qel_test {

struct RowName {
    template <typename Row>
    std::string operator()(const testing::TestParamInfo<Row>& info) const {
        std::string strName = (info.index < 10 ? "r0" : "r") + std::to_string(info.index) + "_";
        bool bGap = false;
        for (const char* p = info.param.pszBehaviour; *p; ++p) {
            if (!std::isalnum(static_cast<unsigned char>(*p))) {
                bGap = true;
                continue;
            }
            strName += bGap ? std::string("_") + *p : std::string(1, *p);
            bGap = false;
        }
        return strName;
    }
};

}  // namespace qel_test

// Prints a row as its behaviour instead of its bytes.
#define QEL_PRINT_ROW_AS_BEHAVIOUR(Row) \
    [[maybe_unused]] void PrintTo(const Row& row, std::ostream* pOut) { *pOut << '"' << row.pszBehaviour << '"'; }
