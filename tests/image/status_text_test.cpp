// Every status code has its own phrase, and codes outside the table still get one.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "lum_lib.h"

namespace {

TEST(StatusText, EveryCodeHasItsOwnPhrase) {
    const int codes[] = {0, -1, -2, -3, -4, -5, -6, -7, -8, -32, -64, -65, -128};
    std::set<std::string> phrases;
    for (int code : codes) {
        const char* text = lum_status_text(code);
        ASSERT_NE(text, nullptr) << code;
        EXPECT_FALSE(std::string(text).empty()) << code;
        EXPECT_EQ(std::string(text).find("unknown"), std::string::npos) << code;
        phrases.insert(text);
    }
    EXPECT_EQ(phrases.size(), std::size(codes));
}

TEST(StatusText, CodesOutsideTheTableStillGetAPhrase) {
    // Also the signed 8-bit statuses read back as unsigned, and codes past int8_t.
    for (int code : {-9, -31, -33, -63, -66, -127, -129, 1, 7, 127, 128, 192, 255, 1000, -1000}) {
        const char* text = lum_status_text(code);
        ASSERT_NE(text, nullptr) << code;
        EXPECT_NE(std::string(text).find("unknown"), std::string::npos) << code;
    }
    EXPECT_STRNE(lum_status_text(5), lum_status_text(-5));
}

}  // namespace
