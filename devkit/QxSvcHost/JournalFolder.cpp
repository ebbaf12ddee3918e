#include "JournalFolder.h"

#include <windows.h>

#include <aclapi.h>
#include <sddl.h>

#include <cstddef>
#include <utility>
#include <vector>

namespace SvcHost
{
namespace
{
using VzCommon::FileHandle;
using VzCommon::KernelHandle;
using VzCommon::LocalMemory;

// Protected: full access for the system and administrators, nobody else.
constexpr wchar_t rightsText[] = L"D:P(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)";

// Opened so that it can be neither renamed nor deleted, and not through a link, which would lead the
// service's writing elsewhere.
FileHandle OpenFolder(const std::wstring& path, DWORD access)
{
    FileHandle folder(CreateFileW(path.c_str(), access | FILE_LIST_DIRECTORY | FILE_READ_ATTRIBUTES,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                  FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    BY_HANDLE_FILE_INFORMATION info{};
    const bool isPlain = folder && GetFileInformationByHandle(folder.Get(), &info) &&
                         (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 &&
                         (info.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0;
    return isPlain ? std::move(folder) : FileHandle();
}

bool IsRunningUser(PSID sid)
{
    KernelHandle token;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, token.Put()))
    {
        return false;
    }
    DWORD size = 0;
    GetTokenInformation(token.Get(), TokenUser, nullptr, 0, &size);
    std::vector<std::byte> user(size);
    return GetTokenInformation(token.Get(), TokenUser, user.data(), size, &size) &&
           EqualSid(sid, reinterpret_cast<const TOKEN_USER*>(user.data())->User.Sid);
}

// A service runs as the system. In the foreground the user is an administrator, whose folders need not be the
// group's.
bool IsTrustedOwner(HANDLE object)
{
    PSID owner = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    if (GetSecurityInfo(object, SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION, &owner, nullptr, nullptr, nullptr,
                        &descriptor) != ERROR_SUCCESS)
    {
        return false;
    }
    const LocalMemory memory(descriptor);
    return owner != nullptr && (IsWellKnownSid(owner, WinLocalSystemSid) ||
                                IsWellKnownSid(owner, WinBuiltinAdministratorsSid) || IsRunningUser(owner));
}

} // namespace

JournalFolder::JournalFolder(const std::wstring& path)
{
    SECURITY_ATTRIBUTES rights{sizeof(rights), nullptr, FALSE};
    if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(rightsText, SDDL_REVISION_1,
                                                              &rights.lpSecurityDescriptor, nullptr))
    {
        m_refusal = L"its rights cannot be made";
        return;
    }
    m_rights.Reset(rights.lpSecurityDescriptor);
    const std::wstring parent = path.substr(0, path.rfind(L'\\'));
    CreateDirectoryW(parent.c_str(), nullptr);
    CreateDirectoryW(path.c_str(), &rights);
    const FileHandle above = OpenFolder(parent, 0);
    m_folder = above ? OpenFolder(path, READ_CONTROL | WRITE_DAC) : FileHandle();
    if (!m_folder)
    {
        m_refusal = L"it cannot be opened, or is no folder";
        return;
    }
    Secure(m_folder.Get());
}

FileHandle JournalFolder::OpenFile(const std::wstring& path)
{
    if (m_refusal != nullptr)
    {
        return {};
    }
    FileHandle file(CreateFileW(path.c_str(), FILE_APPEND_DATA | READ_CONTROL | WRITE_DAC,
                                FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, OPEN_ALWAYS,
                                FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    if (!file)
    {
        m_refusal = L"the file cannot be opened";
        return {};
    }
    Secure(file.Get());
    return m_refusal == nullptr ? std::move(file) : FileHandle();
}

// Nothing is propagated: what lies in the folder besides the journal is not the service's.
void JournalFolder::Secure(HANDLE object)
{
    if (!IsTrustedOwner(object))
    {
        m_refusal = L"it belongs to somebody else";
    }
    else if (!SetKernelObjectSecurity(object, DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION,
                                      m_rights.Get()))
    {
        m_refusal = L"its rights cannot be set";
    }
}

} // namespace SvcHost
