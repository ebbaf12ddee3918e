#include "JournalFile.h"

#include <windows.h>

#include <shlobj.h>

#include <array>
#include <utility>

#include "FrwkMode.h"
#include "JournalFolder.h"
#include "QxCommon_JsonText.h"
#include "QxCommon_utility.h"
#include "VzComn_LogFront.h"

namespace SvcHost
{
JournalFile::JournalFile(std::wstring path, std::uint64_t cap) : m_path(std::move(path)), m_cap(cap)
{
    if (!m_path.empty())
    {
        Open();
    }
}

void JournalFile::Open()
{
    JournalFolder folder(m_path.substr(0, m_path.rfind(L'\\'))); // held until the file is open
    m_file = folder.OpenFile(m_path);
    LARGE_INTEGER size{};
    if (m_file && GetFileSizeEx(m_file.Get(), &size))
    {
        m_size = static_cast<std::uint64_t>(size.QuadPart);
        return;
    }
    m_file.Reset();
    if (!std::exchange(m_failed, true))
    {
        const wchar_t* refusal = folder.Refusal();
        LOG_ERROR << L"the journal is not written, file=" << m_path << L", reason: "
                  << (refusal != nullptr ? refusal : L"the file has no size");
    }
}

void JournalFile::Roll()
{
    m_file.Reset();
    const std::wstring previous = m_path + L".1";
    if (!MoveFileExW(m_path.c_str(), previous.c_str(), MOVEFILE_REPLACE_EXISTING))
    {
        // Somebody holds one of the two: better without the old lines than beyond the cap.
        DeleteFileW(m_path.c_str());
    }
    Open();
}

void JournalFile::Write(const std::wstring& line)
{
    if (!m_file)
    {
        return;
    }
    const std::string bytes = QxCommon::JsonText::ToUtf8(line) + '\n';
    if (m_size + bytes.size() > m_cap)
    {
        Roll();
    }
    DWORD written = 0;
    if (m_size + bytes.size() <= m_cap && m_file &&
        WriteFile(m_file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr))
    {
        m_size += written;
    }
}

std::wstring JournalPath()
{
    std::array<wchar_t, MAX_PATH> folder{};
    if (FAILED(SHGetFolderPathW(nullptr, CSIDL_COMMON_APPDATA, nullptr, SHGFP_TYPE_CURRENT, folder.data())))
    {
        return {};
    }
    return QxCommon::AppendName(folder.data(),
                                L"Norvane Soft\\Host\\" + QxCommon::GetProductId() + L".journal.jsonl");
}

} // namespace SvcHost
