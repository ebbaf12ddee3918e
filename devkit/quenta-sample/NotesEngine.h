#pragma once

#include "SampleEngine.h"

#include <mutex>

// Item "notes": answers from memory. PutDetails keeps a value, Query gives it back (null, and so a failed
// command, while there is none), QueryByKey tells how many were put, and Signal forgets the value.
class NotesEngine : public SampleEngine
{
public:
    QxCommon::JsonDb Query() override;
    QxCommon::JsonDb QueryByKey(std::wstring key) override;
    void PutDetails(std::wstring key, QxCommon::JsonDb details) override;
    void Signal() override;

private:
    std::mutex m_mutex;
    QxCommon::JsonDb m_note;  // guarded by m_mutex
    std::uint32_t m_puts = 0; // guarded by m_mutex
};
