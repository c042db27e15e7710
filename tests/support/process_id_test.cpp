#include <gtest/gtest.h>
#include <unistd.h>

#include <regex>

#include "support/process_id.h"


TEST(ProcessId, UuidTextIsCanonicalAndRoundTrips) {
    uuid value, other;
    ASSERT_TRUE(cpprocess_uuid(&value));
    ASSERT_TRUE(cpprocess_uuid(&other));
    EXPECT_FALSE(cpprocess_uuid_compare(value, other));
    EXPECT_EQ(value.bytes[6] >> 4, 4);       // version 4
    EXPECT_EQ(value.bytes[8] & 0xC0, 0x80);  // RFC 4122 variant

    char text[37];
    EXPECT_FALSE(cpprocess_uuid_to_string(value, text, 36));
    ASSERT_TRUE(cpprocess_uuid_to_string(value, text, 37));
    EXPECT_TRUE(std::regex_match(text, std::regex("[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}")));

    uuid back;
    ASSERT_TRUE(cpprocess_uuid_from_string(text, &back));
    EXPECT_TRUE(cpprocess_uuid_compare(value, back));
}

TEST(ProcessId, UuidParserTakesEitherCaseAndNothingElse) {
    uuid value;
    ASSERT_TRUE(cpprocess_uuid_from_string("0a1b2c3d-4e5f-4a6b-8c7d-9e0f1a2b3c4d", &value));
    EXPECT_EQ(value.bytes[0], 0x0A);
    EXPECT_EQ(value.bytes[15], 0x4D);
    for (char const* bad : {"", "0a1b2c3d4e5f4a6b8c7d9e0f1a2b3c4d", "0a1b2c3d-4e5f-4a6b-8c7d-9e0f1a2b3c4",
                            "0a1b2c3d-4e5f-4a6b-8c7d-9e0f1a2b3c4g", "0a1b2c3d-4e5f-4a6b-8c7d--e0f1a2b3c4d"})
        EXPECT_FALSE(cpprocess_uuid_from_string(bad, &value)) << bad;
    EXPECT_FALSE(cpprocess_uuid_from_string(nullptr, &value));
    EXPECT_FALSE(cpprocess_uuid_to_string(value, nullptr, 37));
}
