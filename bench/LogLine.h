#pragma once

#include "VzComn_DebugLog.h"
#include "VzDbgLog.h"

#include <windows.h>

#include <memory>
#include <string>

// What the log's benchmark writes to. Each object belongs to one run, and is made and removed outside the
// measured time.

// A folder for temporary files, gone at the end.
class TemporaryFolder
{
public:
    TemporaryFolder();
    ~TemporaryFolder();

    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] const std::wstring& Path() const { return path; }

    [[nodiscard]] std::string NarrowPath() const { return {path.begin(), path.end()}; }

private:
    std::wstring path;
};

// The product's log with the levels information, warnings and errors, and the built log writer.
class ProductLog
{
public:
    ProductLog(const std::wstring& folder, bool robust);
    ~ProductLog();

    ProductLog(const ProductLog&) = delete;
    ProductLog& operator=(const ProductLog&) = delete;

    [[nodiscard]] VzCommon::DebugLog& Get() const { return *log; }

private:
    std::unique_ptr<VzCommon::DebugLog> log;
};

// The built log writer alone.
class WriterLog
{
public:
    WriterLog(const std::wstring& folder, bool robust);
    ~WriterLog();

    WriterLog(const WriterLog&) = delete;
    WriterLog& operator=(const WriterLog&) = delete;

    [[nodiscard]] bool Trace(const SYSTEMTIME& time, const std::wstring& line) const
    {
        return trace(handle, &time, line.c_str()) == ERROR_SUCCESS;
    }

private:
    HMODULE library;
    decltype(&VzDbgTrace) trace = nullptr;
    void* handle = nullptr;
};

void DoNothing();
