#include "NotesEngine.h"

// A copy: a second handle on the note would see the next one, on another thread.
QxCommon::JsonDb NotesEngine::Query()
{
    const std::lock_guard lock(m_mutex);
    QxCommon::JsonDb answer;
    answer.Assign(m_note);
    return answer;
}

QxCommon::JsonDb NotesEngine::QueryByKey(std::wstring /*key*/)
{
    const std::lock_guard lock(m_mutex);
    QxCommon::JsonDb answer;
    answer[L"puts"].SetUInt(m_puts);
    return answer;
}

void NotesEngine::PutDetails(std::wstring /*key*/, QxCommon::JsonDb details)
{
    const std::lock_guard lock(m_mutex);
    m_note.Assign(details);
    ++m_puts;
}

void NotesEngine::Signal()
{
    const std::lock_guard lock(m_mutex);
    m_note.Assign(QxCommon::JsonDb());
}
