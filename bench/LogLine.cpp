#include "LogLine.h"

#include "VzComn_LogFront.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace
{
constexpr wchar_t writerFolder[] = QX_LOG_WRITER;

template <typename Function>
Function Resolve(HMODULE library, const char* name)
{
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}
} // namespace

TemporaryFolder::TemporaryFolder()
{
    static int count = 0;
    wchar_t folder[MAX_PATH + 1]{};
    GetTempPathW(MAX_PATH, folder);
    path = folder + (L"logline" + std::to_wstring(GetCurrentProcessId())) + L"_" + std::to_wstring(++count);
    CreateDirectoryW(path.c_str(), nullptr);
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

ProductLog::ProductLog(const std::wstring& folder, bool robust) : log(std::make_unique<VzCommon::DebugLog>())
{
    std::ofstream(std::filesystem::path(folder + L"\\vzdbg.ini"))
        << "[InteractiveSession]\nEnable=1\nLevel=0x0111\nLogFolder="
        << std::string(folder.begin(), folder.end()) << "\nRobust=" << (robust ? 1 : 0) << '\n';
    const auto key = VzCommon::Storage::Key::ForIniFile(folder.c_str(), L"\\vzdbg.ini");
    if (!log->Initialize(L"QxSessionAgent", key, writerFolder))
    {
        throw std::runtime_error("the product's log does not stand");
    }
}

ProductLog::~ProductLog()
{
    VzCommon::s_pDebugLog = log.get();
    VzCommon::DebugLog::Uninitialize();
    VzCommon::s_pDebugLog = nullptr;
}

WriterLog::WriterLog(const std::wstring& folder, bool robust)
    : library(LoadLibraryW((std::wstring(writerFolder) + L"\\VzDbgLog.dll").c_str()))
{
    const auto initialize = Resolve<decltype(&VzDbgInitialize)>(library, "VzDbgInitialize");
    trace = Resolve<decltype(&VzDbgTrace)>(library, "VzDbgTrace");
    VzDbgConfig config{};
    config.robust = robust ? 1 : 0;
    folder.copy(config.logFolder, VZ_DBG_FOLDER_LENGTH - 1);
    if (initialize == nullptr || trace == nullptr || initialize(&handle, &config) != ERROR_SUCCESS)
    {
        throw std::runtime_error("the log writer does not stand");
    }
}

WriterLog::~WriterLog()
{
    Resolve<decltype(&VzDbgUninitialize)>(library, "VzDbgUninitialize")(handle);
    FreeLibrary(library);
}

[[gnu::noinline]] void DoNothing()
{
    asm volatile("");
}
