#include "VzComn_XmlFile.h"

#include "VzComn_SecurityAttributes.h"
#include "VzComn_XmlException.h"

namespace VzCommon::Storage
{

XmlFile::XmlFile(const wchar_t* name)
{
    path = name;
    AccessControl::SecurityAttributes attributes(AccessControl::Kind::File, false);
    const HANDLE file =
        CreateFileW(name, FILE_READ_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    attributes.ForCreation(), OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
    {
        VZ_THROW(XmlException, GetLastError());
    }
    handle.Reset(file);
}

std::size_t XmlFile::Read(std::span<char> room)
{
    DWORD count = 0;
    if (!ReadFile(handle.Get(), room.data(), static_cast<DWORD>(room.size()), &count, nullptr))
    {
        VZ_THROW(Exception, GetLastError());
    }
    if (count == 0)
    {
        VZ_THROW(Exception, ERROR_HANDLE_EOF);
    }
    return count;
}

void XmlFile::Close()
{
    if (!handle.Close())
    {
        VZ_THROW(XmlException, GetLastError());
    }
}

} // namespace VzCommon::Storage
