#include "VzComn_FileBase.h"

#include "VzComn_String.h"

namespace VzCommon::Storage
{

bool FileBase::Exists(const std::wstring& path)
{
    if (path.empty())
    {
        return false;
    }
    WIN32_FIND_DATAW data;
    FindHandle search(FindFirstFileW(path.c_str(), &data));
    return search.Close();
}

std::wstring FileBase::StripFileName(std::wstring path)
{
    const std::size_t end = path.rfind(L'\\');
    if (end != std::wstring::npos)
    {
        path.resize(end);
    }
    return path;
}

std::wstring FileBase::GetFileName(const std::wstring& path)
{
    const std::size_t last = path.size() < 2 ? std::wstring::npos : path.rfind(L'\\', path.size() - 2);
    return last == std::wstring::npos ? path : path.substr(last + 1);
}

std::wstring FileBase::Combine(std::wstring left, const std::wstring& right)
{
    return String::EnsureBackslash(std::move(left)) + right;
}

} // namespace VzCommon::Storage
