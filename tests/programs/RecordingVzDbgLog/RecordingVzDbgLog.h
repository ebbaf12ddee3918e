#pragma once

#include <VzDbgLog.h>

#include <atomic>
#include <cstddef>

// What the recording log writer tells a test and takes from it. Lives as long as the library is loaded; the
// parts that are set are set while nobody logs. Any thread.
class RecordingLog
{
public:
    // The recorded lines of all logs, as they came. A line stays where it is.
    virtual std::size_t Count() = 0;
    virtual const wchar_t* Line(std::size_t index) = 0;
    virtual SYSTEMTIME Time(std::size_t index) = 0;

    // The record of the last initialisation.
    VzDbgConfig config{};
    std::atomic<int> initializations{0};
    std::atomic<int> uninitializations{0};
    std::atomic<int> wrongHandles{0}; // calls with a handle that this library did not give
    std::atomic<int> overlaps{0};     // calls that came in while another one was under way in another thread

    // What the exports answer.
    DWORD initializeResult = ERROR_SUCCESS;
    bool givesHandle = true;
    DWORD traceResult = ERROR_SUCCESS; // a failing trace does not record
    void (*duringTrace)(const wchar_t* line) = nullptr;

protected:
    ~RecordingLog() = default;
};

// An export beside those of a log writer.
extern "C" RecordingLog* GetRecordingLog();
