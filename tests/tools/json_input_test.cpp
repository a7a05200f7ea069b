#include "json_input.h"

#include <gtest/gtest.h>

#include <functional>
#include <nlohmann/json.hpp>
#include <string>

#include "errors.h"
#include "tools/temporary_directory.h"

namespace {

using dxrsh::JsonObject;
using dxrsh::LoadJson;
using nlohmann::json;

// The complaint about what is done with an object of that JSON; "none" when there is none.
std::string Complaint(const std::string &text, const std::function<void(JsonObject &)> &use) {
    const json value = json::parse(text);
    try {
        JsonObject object(value, "f.json");
        use(object);
    } catch (const dxrsh::UsageError &error) {
        return error.what();
    }
    return "none";
}

TEST(LoadJson, ReadsAFile) {
    const dxrtest::TemporaryDirectory directory;
    EXPECT_EQ(LoadJson(directory.Write("f.json", " {\"a\": [1, 2]} \n")),
              json::parse(R"({"a": [1, 2]})"));
}

TEST(LoadJson, SaysWhereAFileIsWrong) {
    const dxrtest::TemporaryDirectory directory;
    const std::string path = directory.Write("f.json", "{\n  \"a\": }\n");
    try {
        (void)LoadJson(path);
        FAIL() << "accepted";
    } catch (const dxrsh::UsageError &error) {
        EXPECT_EQ(std::string(error.what()).find(path + ": parse error at line 2, column 8: "), 0U)
            << error.what();
    }
}

// The parser would take the later one.
TEST(LoadJson, NoMemberIsGivenTwice) {
    const auto complaint = [](const std::string &text) -> std::string {
        try {
            (void)dxrsh::ParseJson(text, "f.json");
        } catch (const dxrsh::UsageError &error) {
            return error.what();
        }
        return "none";
    };
    EXPECT_EQ(complaint(R"({"a": 1, "b": 2, "a": 1})"), "f.json: 'a' is given twice");
    EXPECT_EQ(complaint(R"([{"a": {"b": [], "c": [{}], "b": 1}}])"), "f.json: 'b' is given twice");
    EXPECT_EQ(complaint(R"({"a": {"\u001b": 1, "\u001b": 1}})"), "f.json: '\\x1b' is given twice");
    EXPECT_EQ(complaint(R"({"a": {"a": [{"a": 1}, {"a": 2}]}, "b": {"a": 3}})"), "none");
}

// The parser takes a NUL byte for the end of the text.
TEST(LoadJson, NothingHidesAfterANulByte) {
    const dxrtest::TemporaryDirectory directory;
    for (const std::string rest : {"", "\n", "{}", "nonsense"}) {
        const std::string text = "{\"a\": 1}" + std::string(1, '\0') + rest;
        EXPECT_THROW((void)LoadJson(directory.Write("f.json", text)), dxrsh::UsageError) << rest;
    }
}

TEST(LoadJson, OddFilesAreRefusedOnOneLine) {
    const dxrtest::TemporaryDirectory directory;
    for (const std::string text : {"", "{", "{}{}", "\xff\xfe", "[1,]", "{\"a\": \"\n\"}", "nul",
                                   "{\"\x1b[2J", "\"\xc3\x28\""}) {
        try {
            (void)LoadJson(directory.Write("f.json", text));
            FAIL() << text;
        } catch (const dxrsh::UsageError &error) {
            const std::string complaint = error.what();
            EXPECT_EQ(complaint.find_first_of("\n\x1b"), std::string::npos) << complaint;
        }
    }
}

TEST(LoadJson, DeepFilesAreHarmless) {
    const dxrtest::TemporaryDirectory directory;
    const std::string open(200000, '[');
    EXPECT_THROW((void)LoadJson(directory.Write("f.json", open)), dxrsh::UsageError);
    EXPECT_NO_THROW((void)LoadJson(directory.Write("f.json", open + std::string(200000, ']'))));
}

TEST(LoadJson, AMissingFileIsARunError) {
    EXPECT_THROW((void)LoadJson("/nonexistent/f.json"), dxrsh::RunError);
}

TEST(JsonObject, MustBeAnObject) {
    EXPECT_EQ(Complaint("[]", [](JsonObject &) {}), "f.json: must be an object");
}

TEST(JsonObject, NumbersFitIn32Bits) {
    const auto number = [](JsonObject &object) { (void)object.Number("n"); };
    EXPECT_EQ(Complaint(R"({"n": 0})", number), "none");
    EXPECT_EQ(Complaint(R"({"n": 4294967295})", number), "none");
    for (const char *text :
         {R"({"n": -1})", R"({"n": 4294967296})", R"({"n": 1.5})", R"({"n": 1.0})", R"({"n": "1"})",
          R"({"n": null})", R"({"n": true})", R"({"n": [1]})", R"({"n": 99999999999999999999})"}) {
        EXPECT_EQ(Complaint(text, number),
                  "f.json: 'n' must be a whole number from 0 to 4294967295")
            << text;
    }
    EXPECT_EQ(Complaint("{}", number), "f.json: 'n' is missing");
}

TEST(JsonObject, NumbersMayHaveAFallback) {
    const json value = json::parse(R"({"n": 7})");
    JsonObject object(value, "f.json");
    EXPECT_EQ(object.Number("n", 1), 7U);
    EXPECT_EQ(object.Number("m", 1), 1U);
    EXPECT_EQ(Complaint(R"({"n": -7})", [](JsonObject &o) { (void)o.Number("n", 1); }),
              "f.json: 'n' must be a whole number from 0 to 4294967295");
}

TEST(JsonObject, TextsAreShortAndPlain) {
    const auto text = [](JsonObject &object) { (void)object.Text("t", 4); };
    EXPECT_EQ(Complaint(R"({"t": "abcd"})", text), "none");
    EXPECT_EQ(Complaint(R"({"t": ""})", text), "none");
    EXPECT_EQ(Complaint(R"({"t": "ääa"})", text), "f.json: 't' must have at most 4 bytes");
    EXPECT_EQ(Complaint(R"({"t": "a\u0000b"})", text),
              "f.json: 't' must not hold control characters");
    EXPECT_EQ(Complaint(R"({"t": "a\u007f"})", text),
              "f.json: 't' must not hold control characters");
    EXPECT_EQ(Complaint(R"({"t": "a\u009b"})", text),
              "f.json: 't' must not hold control characters");
    EXPECT_EQ(Complaint(R"({"t": "a\u00a0"})", text), "none");
    EXPECT_EQ(Complaint(R"({"t": 1})", text), "f.json: 't' must be a text");
    EXPECT_EQ(Complaint("{}", text), "f.json: 't' is missing");
}

TEST(JsonObject, ListsHoldObjects) {
    const auto list = [](JsonObject &object) { (void)object.Objects("l"); };
    EXPECT_EQ(Complaint(R"({"l": []})", list), "none");
    EXPECT_EQ(Complaint(R"({"l": [{}, {}]})", list), "none");
    EXPECT_EQ(Complaint(R"({"l": [{}, 1]})", list), "f.json: l[1]: must be an object");
    EXPECT_EQ(Complaint(R"({"l": {}})", list), "f.json: 'l' must be a list");
}

TEST(JsonObject, PlacesAreNamed) {
    EXPECT_EQ(Complaint(R"({"l": [{"m": [{}, {"n": -1}]}]})",
                        [](JsonObject &object) {
                            (void)object.Objects("l")[0].Objects("m")[1].Number("n");
                        }),
              "f.json: l[0]: m[1]: 'n' must be a whole number from 0 to 4294967295");
}

TEST(JsonObject, OtherKeysAreRefused) {
    const auto use = [](JsonObject &object) {
        (void)object.Number("n", 0);
        object.RefuseOtherKeys();
    };
    EXPECT_EQ(Complaint(R"({"n": 1})", use), "none");
    EXPECT_EQ(Complaint("{}", use), "none");
    EXPECT_EQ(Complaint(R"({"n": 1, "m": 2})", use), "f.json: unknown key 'm'");
    EXPECT_EQ(Complaint(R"({"a\nb": 2})", use), "f.json: unknown key 'a\\x0ab'");
}

}  // namespace
