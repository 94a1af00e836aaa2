#pragma once

#include "document/RapidJSONHelpers.h"

#include <rapidjson/writer.h>

#include <gtest/gtest.h>

#include <string>

inline Velkori_Utility::JSONDocument Parse(const std::string& text) {
    Velkori_Utility::JSONDocument document;
    EXPECT_TRUE(Velkori_Utility::RapidJSONHelpers::ParseDocument(document, text.c_str())) << text;
    return document;
}

inline std::string ToText(const Velkori_Utility::JSONValue& value) {
    Velkori_Utility::JSONText buffer;
    rapidjson::Writer<Velkori_Utility::JSONText> writer(buffer);
    value.Accept(writer);
    return buffer.GetString();
}
