#pragma once

#include "QxCommon_JsonDb.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

// The error of a text that does not parse, and of a handle without a place in a tree.
inline constexpr std::uint32_t invalidParameter = 87;

// The tree of a JSON text, which has to parse.
inline QxCommon::JsonDb Tree(const std::wstring& text)
{
    QxCommon::JsonDb tree;
    EXPECT_EQ(tree.ParseFromString(text), 0U) << "does not parse";
    return tree;
}

// What a handle holds, on one line and without its line feed.
inline std::wstring Text(const QxCommon::JsonDb& tree)
{
    std::wstring text = tree.ToFastString();
    if (text.ends_with(L'\n'))
    {
        text.pop_back();
    }
    return text;
}

// A JSON string of plain characters, as a file holds it.
inline std::string Quoted(std::string text)
{
    text.insert(text.begin(), '"');
    text.push_back('"');
    return text;
}
