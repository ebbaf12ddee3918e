#pragma once

#include <string>

// Where the program writes: results, and what went wrong.
class Output
{
public:
    virtual ~Output() = default;

    // Writes the text as it stands, at once. False if nobody takes it any more.
    virtual bool Write(const std::wstring& text) = 0;

    // One line, which the program's name opens.
    virtual void Note(const std::wstring& text) = 0;

    // One line of result, without its line feed.
    bool Line(const std::wstring& text) { return Write(text + L'\n'); }
};

// The program's own outputs: wide text on a console, UTF-8 without a mark anywhere else.
class StandardOutput : public Output
{
public:
    bool Write(const std::wstring& text) override;
    void Note(const std::wstring& text) override;
};
