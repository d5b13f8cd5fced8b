#include "companions/JsonText.h"

#include "tests/companions/CompanionTest.h"

namespace {

TEST(JsonTextTest, AddsBase64MemberToTextThatIsNotUtf8) {
    nlohmann::ordered_json object;
    AddText(object, "plain", "caf\xC3\xA9");
    AddText(object, "text", "caf\xE9");
    EXPECT_EQ((nlohmann::ordered_json{
                  {"plain", "caf\xC3\xA9"}, {"text", "caf\\xe9"}, {"textBase64", "Y2Fm6Q=="}}),
              object);
}

TEST(JsonTextTest, AddsNumbersOfResultsWithTheSameReadableText) {
    EXPECT_EQ((nlohmann::ordered_json{{"caf\\xe9", 5}, {"good", 1}}),
              MakeCounts({{"caf\\xe9", 2}, {"caf\xE9", 3}, {"good", 1}}));
    EXPECT_EQ(nlohmann::ordered_json::object(), MakeCounts({}));
}

// RFC 4648, section 10.
TEST(JsonTextTest, EncodesTheTestVectorsOfTheBase64Standard) {
    std::string const text = "foobar";
    std::size_t length = 0;
    for (char const* const encoded :
         {"", "Zg==", "Zm8=", "Zm9v", "Zm9vYg==", "Zm9vYmE=", "Zm9vYmFy"})
        EXPECT_EQ(encoded, EncodeBase64(text.substr(0, length++)));
}

TEST(JsonTextTest, EncodesHighBytesAndTheWholeAlphabet) {
    EXPECT_EQ("////", EncodeBase64("\xFF\xFF\xFF"));
    EXPECT_EQ("+/+/", EncodeBase64("\xFB\xFF\xBF"));
    EXPECT_EQ(
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/",
        EncodeBase64(std::string_view("\x00\x10\x83\x10\x51\x87\x20\x92\x8b\x30\xd3\x8f\x41\x14"
                                      "\x93\x51\x55\x97\x61\x96\x9b\x71\xd7\x9f\x82\x18\xa3\x92"
                                      "\x59\xa7\xa2\x9a\xab\xb2\xdb\xaf\xc3\x1c\xb3\xd3\x5d\xb7"
                                      "\xe3\x9e\xbb\xf3\xdf\xbf",
                                      48)));
}

TEST(JsonTextTest, DecodesEncodedBytes) {
    std::string bytes;
    for (int length = 0; length < 300; ++length) {
        EXPECT_EQ(bytes, DecodeBase64(EncodeBase64(bytes)));
        bytes += static_cast<char>(length * 7);
    }
}

TEST(JsonTextTest, RefusesInvalidBase64) {
    for (char const* const text : {"A", "AA", "AAA", "AAAA=", "A===", "====", "AA=A", "AA==AAAA",
                                   "AB==", "AAB=", "AAA!", "AA A", "-_-_", "AAAA\n"})
        EXPECT_EQ(std::nullopt, DecodeBase64(text)) << text;
}

} // namespace
