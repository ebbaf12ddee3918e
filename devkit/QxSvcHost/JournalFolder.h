#pragma once

#include <string>

#include "VzComn_Handle.h"

namespace SvcHost
{

// The folder of the journal's file, for administrators and the system alone: made if it is missing. Folder
// and file must be theirs where they are there already, since whoever owns a thing decides who reads it; the
// rights are then set anew. As long as this lives nobody can put another folder in its place.
class JournalFolder
{
public:
    explicit JournalFolder(const std::wstring& path);

    // To append to. The file must lie in the folder. Empty if it is refused.
    [[nodiscard]] VzCommon::FileHandle OpenFile(const std::wstring& path);

    // Null if folder and file are good so far, otherwise why not.
    [[nodiscard]] const wchar_t* Refusal() const { return m_refusal; }

private:
    void Secure(HANDLE object);

    VzCommon::LocalMemory m_rights;
    VzCommon::FileHandle m_folder;
    const wchar_t* m_refusal = nullptr;
};

} // namespace SvcHost
