#pragma once

#include <string>
#include <vector>

#include "Output.h"

// Keeps what a verb writes.
class RecordingOutput : public Output
{
public:
    bool Write(const std::wstring& written) override
    {
        text += written;
        return --takes != 0;
    }

    void Note(const std::wstring& note) override { notes.push_back(note); }

    std::wstring text;
    std::vector<std::wstring> notes;
    int takes = 0; // the write with that number fails; 0: none
};
