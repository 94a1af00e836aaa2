// Documents that nobody writes by accident: there is always an answer, within a time and with an amount of
// text that the document's size bounds.

#include "Velkori_Utility.h"
#include "support/LogCapture.h"
#include "support/Samples.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

std::string Repeat(std::string_view text, int count) {
    std::string repeated;
    repeated.reserve(text.size() * count);
    for (int i = 0; i < count; ++i) {
        repeated += text;
    }
    return repeated;
}

// The small document with each `place` replaced.
std::string Damage(std::string_view place, const std::string& replacement) {
    std::string document = R"({
        "name": "NAME",
        "config": {"version": 0, "coordinateSpace": {"up": {"x": 0, "y": 1, "z": 0},
            "forward": {"x": 0, "y": 0, "z": 1}, "right": {"x": 1, "y": 0, "z": 0}}},
        "source": {"joints": ["hips", "head"], "hierarchy": {"head": "hips"},
            "manifestations": {"top": ["head"]},
            "tpose": {"hips": {"position": {"x": 0, "y": NUMBER, "z": 0}}}},
        "target": {"joints": ["hips", "head"], "hierarchy": {"head": "hips"}},
        "mapping": {"min": {"hips": {"mappings": {"hips": {"weightPosition": WEIGHT, "weightRotation": 1}}}},
            "max": {}}})";
    document = ReplaceAll(document, place, replacement);
    return ReplaceAll(ReplaceAll(document, "NUMBER", "1"), "WEIGHT", "1");
}

// All joints hang on the first, and every manifestation holds the first and the last.
std::string ManyManifestations(int jointCount, int manifestationCount) {
    std::string joints = "\"hips\"";
    std::string hierarchy;
    for (int i = 1; i < jointCount; ++i) {
        const std::string name = "\"j" + std::to_string(i) + "\"";
        joints.append(", ").append(name);
        hierarchy.append(i == 1 ? "" : ", ").append(name).append(": \"hips\"");
    }
    std::string manifestations;
    for (int i = 0; i < manifestationCount; ++i) {
        manifestations.append(i == 0 ? "" : ", ")
            .append(
                "\"m" + std::to_string(i) + "\": [\"hips\", \"j" + std::to_string(jointCount - 1) + "\"]");
    }
    return Damage(R"("joints": ["hips", "head"], "hierarchy": {"head": "hips"},
            "manifestations": {"top": ["head"]})",
        R"("joints": [)" + joints + R"(], "hierarchy": {)" + hierarchy + R"(}, "manifestations": {)" +
            manifestations + "}");
}

struct Case {
    const char* name;
    std::string document;
    velkori_Result expected;
};

// What is taken can be written and read again; what is refused leaves a live handle alone.
void ExpectAnswer(const Case& given) {
    const LoadedConfig live(Damage("NAME", "live"));
    const std::string before = WriteDocument(live.Get());
    velkori_Handle handle = given.expected == velkori_Result_Success ? 0 : live.Get();
    const LogCapture capture;
    EXPECT_EQ(velkori_createOrUpdateHandle(given.document.c_str(), &handle), given.expected) << given.name;
    std::size_t textSize = 0;
    for (const std::string& text : LogCapture::TakeTexts()) {
        textSize += text.size();
    }
    EXPECT_LT(textSize, 32 * given.document.size() + 4096) << given.name;
    EXPECT_EQ(WriteDocument(live.Get()), before) << given.name;
    if (given.expected == velkori_Result_Success) {
        const LoadedConfig again(WriteDocument(handle));
        EXPECT_EQ(velkori_destroy(handle), velkori_Result_Success) << given.name;
    } else {
        EXPECT_EQ(handle, live.Get()) << given.name;
        handle = 0;
        EXPECT_EQ(velkori_createOrUpdateHandle(given.document.c_str(), &handle), given.expected);
        EXPECT_EQ(handle, 0U) << given.name;
    }
}

} // namespace

TEST(HostileDocument, GetsAnAnswerAndLeavesTheLiveHandleAlone) {
    const std::string deepObject = Repeat(R"({"a":)", 10000) + "1" + Repeat("}", 10000);
    const std::string deepArray = Repeat("[", 10000) + Repeat("]", 10000);
    const std::string longName(1000000, 'N');
    const Case cases[] = {
        {"an unknown key of 10,000 nested objects", Damage(R"("version": 0)", R"("x": )" + deepObject),
            velkori_Result_Success},
        {"nested objects for a pose", Damage(R"({"position": {"x": 0, "y": NUMBER, "z": 0}})", deepObject),
            velkori_Result_Success},
        {"nested lists for joints", Damage(R"(["hips", "head"])", deepArray), velkori_Result_InvalidData},
        {"10,000 nested objects alone, cut off", Repeat(R"({"a":)", 10000), velkori_Result_ParseFailed},
        {"a name of a megabyte", Damage("NAME", longName), velkori_Result_Success},
        {"joint names of a megabyte", Damage("head", longName), velkori_Result_Success},
        {"a mapping of a joint with an unknown name of a megabyte",
            Damage(R"("mappings": {"hips")", R"("mappings": {")" + longName + "\""),
            velkori_Result_InvalidData},
        {"thousands of equal joints",
            Damage(R"(["hips", "head"])", R"(["hips")" + Repeat(R"(, "head")", 5000) + "]"),
            velkori_Result_InvalidData},
        {"thousands of equal mappings",
            Damage(R"("min": {)", R"("min": {)" + Repeat(R"("hips": {"mappings": {"hips": {}}}, )", 5000)),
            velkori_Result_Success},
        {"joints that hang on each other",
            Damage(R"({"head": "hips"})", R"({"head": "hips", "hips": "head"})"), velkori_Result_InvalidData},
        {"a joint that hangs on itself", Damage(R"({"head": "hips"})", R"({"head": "head"})"),
            velkori_Result_InvalidData},
        {"a position that no float holds", Damage("NUMBER", "1e300"), velkori_Result_InvalidData},
        {"a number that no double holds", Damage("NUMBER", "1e999"), velkori_Result_ParseFailed},
        {"a weight that no float holds", Damage("WEIGHT", "1e300"), velkori_Result_Success},
        {"bytes that aren't UTF-8", Damage("head", "\xff\xc0\x80\xed\xa0\x80"), velkori_Result_Success},
        {"20,000 manifestations of 20,000 joints", ManyManifestations(20000, 20000), velkori_Result_Success},
    };
    for (const Case& each : cases) {
        ExpectAnswer(each);
    }
}
