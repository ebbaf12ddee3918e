#pragma once

#include "Handles.h"

#include <string>
#include <vector>

// A VzDbgLogClient with pipes to its input and output. Killed with the scope if it still runs.
class ClientProcess
{
public:
    explicit ClientProcess(const std::vector<std::wstring>& arguments);
    ~ClientProcess();

    ClientProcess(const ClientProcess&) = delete;
    ClientProcess& operator=(const ClientProcess&) = delete;

    // The next line of its output without the line end; empty at the end of the output.
    std::string ReadLine();

    // Lets the client's wait for its input end.
    void CloseInput() { input.Close(); }

    void Kill();

    // Its exit code, or 0xFFFFFFFF if it does not end.
    DWORD Wait();

private:
    VzDbgLog::FileHandle process;
    VzDbgLog::FileHandle input;
    VzDbgLog::FileHandle output;
    std::string read;
};
