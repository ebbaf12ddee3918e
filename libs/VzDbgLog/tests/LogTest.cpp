#include "LogTest.h"

#include <filesystem>
#include <stdexcept>

namespace
{

std::wstring OwnFolder()
{
    wchar_t file[MAX_PATH]{};
    GetModuleFileNameW(nullptr, file, MAX_PATH);
    return std::filesystem::path(file).parent_path().wstring();
}

template <typename Function>
void Resolve(HMODULE module, const char* name, Function& address)
{
    address = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
    if (address == nullptr)
    {
        throw std::runtime_error(name);
    }
}

ULONGLONG s_tick = 1'000'000;

} // namespace

LogLibrary::LogLibrary() : module(LoadLibraryW((OwnFolder() + L"\\VzDbgLog.dll").c_str()))
{
    Resolve(module, "VzDbgInitialize", initialize);
    Resolve(module, "VzDbgTrace", trace);
    Resolve(module, "VzDbgUninitialize", uninitialize);
}

LogLibrary::~LogLibrary()
{
    FreeLibrary(module);
}

TestLog::TestLog(const LogLibrary& usedLibrary, const VzDbgConfig& config) : library(usedLibrary)
{
    library.initialize(&handle, &config);
}

std::uint32_t TestLog::Trace(const std::wstring& line) const
{
    SYSTEMTIME now{};
    GetLocalTime(&now);
    return Trace(line, now);
}

std::uint32_t TestLog::Trace(const std::wstring& line, const SYSTEMTIME& time) const
{
    return library.trace(handle, &time, line.c_str());
}

void TestLog::Close()
{
    if (handle != nullptr)
    {
        library.uninitialize(handle);
        handle = nullptr;
    }
}

VzDbgConfig LogTest::Config() const
{
    VzDbgConfig config{};
    config.robust = 1;
    Put(config.moduleName, L"Agent");
    Put(config.logFolder, folder.Path());
    Put(config.logPrefix, L"qda");
    Put(config.logExtension, L"log");
    return config;
}

std::vector<std::wstring> LogTest::Files() const
{
    std::vector<std::wstring> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder.Path()))
    {
        names.push_back(entry.path().filename().wstring());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string LogTest::AllText() const
{
    std::string text;
    for (const std::wstring& name : Files())
    {
        text += Read(name);
    }
    return text;
}

std::wstring LogTest::Name(const std::wstring& rest)
{
    DWORD session = 0;
    ProcessIdToSessionId(GetCurrentProcessId(), &session);
    return L"qda_Agent_s" + std::to_wstring(session) + rest;
}

SYSTEMTIME At(WORD day, WORD hour)
{
    SYSTEMTIME time{};
    time.wYear = 2031;
    time.wMonth = 5;
    time.wDay = day;
    time.wHour = hour;
    time.wMinute = 7;
    time.wSecond = 8;
    time.wMilliseconds = 9;
    return time;
}

std::wstring Line(const std::wstring& message, const std::wstring& tag)
{
    return L"14/11/2026 02:59:37.123 0a3c:1f08 " + tag + L" <Agent> " + message + L" - Source(153)\r\n";
}

ULONGLONG WINAPI StandingTick()
{
    return s_tick;
}

void LetPass(ULONGLONG milliseconds)
{
    s_tick += milliseconds;
}
