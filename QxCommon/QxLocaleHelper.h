#pragma once

#include "VzComn_AgentStatus.h"

#include <mutex>
#include <string>

namespace QxCommon
{

// Finds the locale name of the user's interface language and keeps the answer for the life of the process.
// Any thread: the main thread and the splash thread meet here.
class QxLocaleHelper
{
public:
    QxLocaleHelper(const QxLocaleHelper&) = delete;
    QxLocaleHelper& operator=(const QxLocaleHelper&) = delete;

    // Reads the mapping file at the path, unless an earlier answer may be used. Leaves localeName empty if
    // the file names no locale, which is no failure.
    static AgentStatus GetLocaleName(std::wstring& localeName, const std::wstring& path, bool useCache);

private:
    QxLocaleHelper() = default;

    static QxLocaleHelper& Instance();

    // False if there is no answer yet.
    bool TakeAnswer(std::wstring& localeName);
    void Publish(const std::wstring& localeName);

    std::mutex m_lock;
    std::wstring m_localName; // Guarded by m_lock. Empty until a locale was found.
};

} // namespace QxCommon
