#include "JournalFile.h"

#include <windows.h>

#include <sddl.h>
#include <shlobj.h>

#include <array>
#include <utility>

#include "FrwkMode.h"
#include "QxCommon_JsonText.h"
#include "QxCommon_utility.h"
#include "VzComn_LogFront.h"

namespace SvcHost
{
namespace
{
// Protected: full access for the system and administrators, nobody else.
constexpr wchar_t folderRights[] = L"D:P(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)";

// A link would lead the service's writing elsewhere.
bool IsPlainFolder(const std::wstring& path)
{
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 &&
           (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0;
}

bool EnsureFolder(const std::wstring& path)
{
    SECURITY_ATTRIBUTES rights{sizeof(rights), nullptr, FALSE};
    if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(folderRights, SDDL_REVISION_1,
                                                              &rights.lpSecurityDescriptor, nullptr))
    {
        return false;
    }
    const VzCommon::LocalMemory descriptor(rights.lpSecurityDescriptor);
    const std::wstring parent = path.substr(0, path.rfind(L'\\'));
    CreateDirectoryW(parent.c_str(), nullptr);
    CreateDirectoryW(path.c_str(), &rights);
    return IsPlainFolder(parent) && IsPlainFolder(path);
}
} // namespace

JournalFile::JournalFile(std::wstring path, std::uint64_t cap) : m_path(std::move(path)), m_cap(cap)
{
    if (!m_path.empty())
    {
        Open();
    }
}

void JournalFile::Open()
{
    if (EnsureFolder(m_path.substr(0, m_path.rfind(L'\\'))))
    {
        m_file.Reset(CreateFileW(m_path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_DELETE,
                                 nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT,
                                 nullptr));
    }
    LARGE_INTEGER size{};
    if (m_file && GetFileSizeEx(m_file.Get(), &size))
    {
        m_size = static_cast<std::uint64_t>(size.QuadPart);
        return;
    }
    m_file.Reset();
    if (!std::exchange(m_failed, true))
    {
        LOG_WARN << L"the journal's file cannot be written, file=" << m_path;
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
