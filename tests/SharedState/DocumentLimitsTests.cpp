// SPDX-License-Identifier: MIT
// Documents built to hurt the reader: nesting that would exhaust the stack, numbers no double
// holds, brackets hidden in strings. Each must fail as a DecodingError, never otherwise.

#include <quelm/WireFormat.h>

#include <gtest/gtest.h>

#include <string>

using namespace quelm;

namespace {

std::string nestedArrays(std::size_t depth)
{
    return std::string(depth, '[') + std::string(depth, ']');
}

// A snapshot that carries `value` under a key no reader knows.
std::string snapshotCarrying(const std::string& value)
{
    return R"({"items":[],"ignored":)" + value + R"(,"updatedAt":1})";
}

}

TEST(DocumentLimits, AHundredThousandNestedArraysAreRefusedForEveryRecord)
{
    const auto deep = nestedArrays(100'000);
    EXPECT_THROW(decode<WidgetSnapshot>(deep), DecodingError);
    EXPECT_THROW(decode<WidgetCommand>(deep), DecodingError);
    EXPECT_THROW(decode<PendingCommands>(deep), DecodingError);
    EXPECT_THROW(decode<WidgetItem>(deep), DecodingError);
    EXPECT_THROW(decode<WidgetSnapshot>(snapshotCarrying(deep)), DecodingError);
}

TEST(DocumentLimits, NestingIsCountedOverObjectsAndArraysAlike)
{
    std::string objects;
    for (int level = 0; level < 100'000; ++level)
        objects += R"({"a":)";
    objects += "1" + std::string(100'000, '}');
    EXPECT_THROW(decode<WidgetSnapshot>(objects), DecodingError);
    EXPECT_THROW(decode<WidgetSnapshot>(snapshotCarrying(std::string(100'000, '['))), DecodingError);
}

TEST(DocumentLimits, SixtyFourLevelsAreAcceptedAndSixtyFiveAreNot)
{
    // The snapshot's own object is the first level.
    auto fits = decode<WidgetSnapshot>(snapshotCarrying(nestedArrays(63)));
    EXPECT_TRUE(fits.items.empty());
    EXPECT_EQ(fits.updatedAt, Date(1));
    try {
        decode<WidgetSnapshot>(snapshotCarrying(nestedArrays(64)));
        FAIL() << "65 levels decoded";
    } catch (const DecodingError& error) {
        EXPECT_EQ(error.path(), "");
        EXPECT_NE(error.problem().find("nested deeper than 64"), std::string::npos) << error.what();
    }
}

TEST(DocumentLimits, BracketsInsideStringsDoNotCountAsNesting)
{
    const std::string brackets(10'000, '[');
    auto snapshot = decode<WidgetSnapshot>(
        R"({"items":[{"id":"a","title":")" + brackets + R"(\"{{{\\","category":"c","isRunning":true}],"updatedAt":1})");
    ASSERT_EQ(snapshot.items.size(), 1u);
    EXPECT_EQ(snapshot.items[0].title, brackets + "\"{{{\\");
}

TEST(DocumentLimits, AnEscapedQuoteDoesNotEndTheString)
{
    // Were the escaped quote taken as the string's end, the brackets after it would count.
    auto session = decode<WidgetSession>(R"({"id":"s","title":"\")" + std::string(100, '[') + R"(","project":"p","state":"working"})");
    EXPECT_EQ(session.title, "\"" + std::string(100, '['));
}

TEST(DocumentLimits, NumbersBeyondADoubleAreADecodingError)
{
    EXPECT_THROW(decode<WidgetSnapshot>(R"({"items":[],"updatedAt":1e400})"), DecodingError);
    EXPECT_THROW(decode<WidgetSnapshot>(R"({"items":[],"updatedAt":-1e400})"), DecodingError);
    EXPECT_THROW(decode<WidgetCommand>(R"({"id":"6F1C0A4E-2B3D-4C5E-8F90-123456789ABC","itemID":"x","action":"start","issuedAt":1e999})"),
        DecodingError);
    EXPECT_THROW(decode<WidgetItem>(R"({"id":"a","title":"A","category":"c","isRunning":true,"port":1e400})"), DecodingError);
    EXPECT_THROW(decode<PendingCommands>(R"({"x":1e400})"), DecodingError);
}

TEST(DocumentLimits, TheLargestFiniteNumbersStillDecode)
{
    auto snapshot = decode<WidgetSnapshot>(R"({"items":[],"updatedAt":1.7976931348623157e308})");
    EXPECT_EQ(snapshot.updatedAt, Date(1.7976931348623157e308));
    EXPECT_EQ(decode<WidgetSnapshot>(encode(snapshot)), snapshot);
}
