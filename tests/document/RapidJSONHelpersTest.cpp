#include "document/RapidJSONHelpers.h"

#include "document/MathJSON.h"
#include "support/JSONText.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <clocale>
#include <cstdlib>
#include <functional>
#include <new>

using namespace Velkori_Utility;
using namespace Velkori_Utility::RapidJSONHelpers;

namespace {

using Texts = std::vector<std::string>;

// Runs `work` on a thread with the small stack that a host's loading thread may have.
void RunOnSmallStack(const std::function<void()>& work) {
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, 512 * 1024), 0);
    pthread_t thread = {};
    const auto run = [](void* argument) -> void* {
        (*static_cast<const std::function<void()>*>(argument))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, const_cast<std::function<void()>*>(&work)), 0);
    ASSERT_EQ(pthread_join(thread, nullptr), 0);
    pthread_attr_destroy(&attributes);
}

std::string Repeat(const std::string& text, int count) {
    std::string repeated;
    for (int i = 0; i < count; ++i) {
        repeated += text;
    }
    return repeated;
}

Texts AsErrors(Texts lines) {
    for (std::string& line : lines) {
        line.insert(0, "[ERROR]: ");
    }
    return lines;
}

} // namespace

TEST(ParseDocument, AMillionLevelsFitASmallStack) {
    constexpr int Depth = 1000000;
    RunOnSmallStack([] {
        const JSONDocument arrays = Parse(Repeat("[", Depth) + Repeat("]", Depth));
        EXPECT_TRUE(arrays.IsArray());
        const JSONDocument objects = Parse(Repeat("{\"a\":", Depth) + "1" + Repeat("}", Depth));
        EXPECT_EQ(GetString(objects, "a", "default", true), "default");
        JSONDocument open;
        EXPECT_FALSE(ParseDocument(open, Repeat("[", Depth).c_str()));
    });
}

TEST(ParseDocument, EveryTruncationIsRefused) {
    const std::string text = R"({"a":[1,-2.5e3,"x\u00e9",true],"b":{"c":null}})";
    for (std::size_t length = 0; length < text.size(); ++length) {
        JSONDocument document;
        EXPECT_FALSE(ParseDocument(document, text.substr(0, length).c_str())) << length;
    }
}

#if !defined(VELKORI_SANITIZED)

// Under the address sanitizer a limit on memory ends the process by itself.
TEST(ParseDocument, MemoryThatRunsOutThrows) {
    const std::string text = "[" + Repeat("1,", 20000000) + "1]";
    const pid_t child = fork();
    if (child == 0) {
        const rlimit limit = {200U * 1024U * 1024U, RLIM_INFINITY};
        setrlimit(RLIMIT_AS, &limit);
        try {
            JSONDocument document;
            ParseDocument(document, text.c_str());
            _exit(1);
        } catch (const std::bad_alloc&) {
            _exit(0);
        }
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

#endif

TEST(ParseDocument, TakesNoCommaAndNoNumberOfALocale) {
    setenv("LOCPATH", VELKORI_TEST_LOCPATH, 1);
    ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
    ASSERT_STREQ(std::localeconv()->decimal_point, ",");
    const JSONDocument document = Parse(R"({"x":1.25,"y":-1e-3,"z":0.1})");
    const Vector3f vector = ReadVector3f(document);
    EXPECT_EQ(vector, Vector3f(1.25F, -0.001F, 0.1F));
    JSONDocument written;
    EXPECT_EQ(ToText(WriteVector3f(vector, written.GetAllocator())),
        R"({"x":1.25,"y":-0.0010000000474974514,"z":0.10000000149011612})");
    JSONDocument comma;
    EXPECT_FALSE(ParseDocument(comma, R"({"x":1,25})"));
    std::setlocale(LC_ALL, "C");
}

TEST(RapidJSONHelpers, EveryGetterReadsOnlyItsOwnKind) {
    const JSONDocument document = Parse(
        R"({"n":null,"b":true,"f":false,"d":2.5,"d":7,"i":-3,"u":18446744073709551615,"s":"te\u0000xt","a":[1],"o":{"k":1}})");
    const LogCapture capture;
    EXPECT_EQ(GetString(document, "s", "default", true), std::string("te\0xt", 5));
    EXPECT_EQ(GetDouble(document, "d", 0, true), 2.5) << "the first of equal keys wins";
    EXPECT_EQ(GetDouble(document, "i", 0, true), -3.0);
    EXPECT_EQ(GetDouble(document, "u", 0, true), 18446744073709551615.0);
    EXPECT_TRUE(GetBool(document, "b", false, true));
    EXPECT_FALSE(GetBool(document, "f", true, true));
    EXPECT_EQ(GetArray(document, "a", true).Size(), 1U);
    EXPECT_EQ(GetObject(document, "o", true).MemberCount(), 1U);
    EXPECT_EQ(GetDouble(document, "none", 9, false), 9.0);
    // Another kind passes the type check unless one of the two is a boolean, and then reads as the default.
    for (const char* key : {"n", "d", "a", "o"}) {
        EXPECT_EQ(GetString(document, key, "default", true), "default");
    }
    for (const char* key : {"n", "s", "a", "o"}) {
        EXPECT_EQ(GetDouble(document, key, 7, true), 7.0);
    }
    EXPECT_TRUE(LogCapture::TakeLines().empty());
}

TEST(RapidJSONHelpers, WhatIsMissingOrOfAnotherKindIsLoggedAndTheDefault) {
    const JSONDocument document = Parse(R"({"n":null,"b":true,"d":2.5,"s":"text"})");
    const LogCapture capture;
    EXPECT_EQ(GetDouble(document, "none", 9, true), 9.0);
    EXPECT_EQ(GetDouble(GetObject(document, "o", false), "x", 9, true), 9.0);
    EXPECT_EQ(GetString(document, "", "default", false), "default");
    EXPECT_EQ(GetArray(document, "s", true).Size(), 0U);
    EXPECT_EQ(GetObject(document, "n", true).MemberCount(), 0U);
    EXPECT_EQ(GetString(document, "b", "default", true), "default");
    EXPECT_EQ(GetDouble(document, "b", 7, true), 7.0);
    EXPECT_TRUE(GetBool(document, "d", true, true));
    EXPECT_EQ(GetObject(document, "b", false).MemberCount(), 0U);
    const Texts expected = {"Cannot find key named \"none\" in JSON Object/Map",
        "Cannot find key named \"x\" in JSON Object/Map",
        "Cannot retrieve JSON string - invalid Key or empty string passed for Key",
        "Cannot retrieve JSON Array, passed rapidJson Value is of type string",
        "Cannot retrieve JSON Object, rapidJson Value is of type nullType",
        "JSON value for key \"b\" type mismatch.  Expected string, found bool.",
        "JSON value for key \"b\" type mismatch.  Expected number, found bool.",
        "JSON value for key \"d\" type mismatch.  Expected bool, found number.",
        "JSON value for key \"b\" type mismatch.  Expected object, found bool."};
    EXPECT_EQ(LogCapture::TakeTexts(), AsErrors(expected));
}

TEST(RapidJSONHelpers, AValueThatIsNoObjectGivesDefaults) {
    const LogCapture capture;
    for (const char* text : {"5", "\"s\"", "[]", "null", "false"}) {
        const JSONDocument document = Parse(text);
        const std::string type = GetDataTypeString(document.GetType());
        EXPECT_EQ(GetString(document, "k", "default", false), "default");
        EXPECT_EQ(GetDouble(document, "k", 3, false), 3.0);
        EXPECT_TRUE(GetBool(document, "k", true, false));
        EXPECT_TRUE(GetStringArray(document, "k", false).empty());
        EXPECT_EQ(GetObject(document, "k", false).MemberCount(), 0U);
        EXPECT_EQ(FindMemberByKey(document, "k", rapidjson::kNumberType, false), nullptr);
        const Texts expected = {"Cannot retrieve JSON String, rapidJson Value is of type " + type,
            "Cannot retrieve JSON double Value, rapidJson Value is of type " + type,
            "Cannot retrieve JSON Bool, rapidJson Value is of type " + type,
            "Cannot retrieve JSON Array, passed rapidJson Value is of type " + type,
            "Cannot retrieve JSON Object, rapidJson Value is of type " + type,
            "Cannot retrieve JSON key \"k\" - JSON Value is not an Object/Map"};
        EXPECT_EQ(LogCapture::TakeTexts(), AsErrors(expected));
    }
}

TEST(RapidJSONHelpers, AnElementThatIsNoStringIsSkipped) {
    const LogCapture capture;
    const JSONDocument document = Parse(R"({"names":["a",1,"b",["c"],""]})");
    EXPECT_EQ(GetStringArray(document, "names", true), (Texts{"a", "b", ""}));
    const Texts expected = {
        "[ERROR]: Invalid Data - element named names must be a string type, element is a number JSON type",
        "[ERROR]: Invalid Data - element named names must be a string type, element is a array JSON type"};
    EXPECT_EQ(LogCapture::TakeTexts(), expected);
}
