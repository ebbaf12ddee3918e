#include "FileNames.h"

#include "LocalTime.h"
#include "Settings.h"

#include <algorithm>
#include <cwchar>

namespace VzDbgLog
{

namespace
{

// Together with the fixed parts well below the 255 characters of a file name.
constexpr std::size_t MaxBase = 64;
constexpr std::size_t MaxModule = 32;
constexpr std::size_t MaxExtension = 16;

bool IsForbidden(wchar_t unit)
{
    return unit < L' ' || unit == 0x7F || std::wcschr(L"<>:\"/\\|?*", unit) != nullptr;
}

bool IsHighSurrogate(wchar_t unit)
{
    return unit >= 0xD800 && unit < 0xDC00;
}

bool IsLowSurrogate(wchar_t unit)
{
    return unit >= 0xDC00 && unit < 0xE000;
}

bool IsPairAt(std::wstring_view text, std::size_t at)
{
    return at + 1 < text.size() && IsHighSurrogate(text[at]) && IsLowSurrogate(text[at + 1]);
}

bool IsInRunOfDots(std::wstring_view text, std::size_t at)
{
    return text[at] == L'.' &&
           ((at > 0 && text[at - 1] == L'.') || (at + 1 < text.size() && text[at + 1] == L'.'));
}

// The text as a part of a file name: cut to the length, and an underscore for whatever no name can hold or
// could lead out of the folder.
std::wstring AsNamePart(std::wstring_view text, std::size_t maxLength)
{
    text = text.substr(0, maxLength);
    std::wstring part(text);
    for (std::size_t at = 0; at < text.size(); ++at)
    {
        if (IsPairAt(text, at))
        {
            ++at;
        }
        else if (IsForbidden(text[at]) || IsHighSurrogate(text[at]) || IsLowSurrogate(text[at]) ||
                 IsInRunOfDots(text, at))
        {
            part[at] = L'_';
        }
    }
    return part;
}

std::wstring BasePart(const Settings& settings)
{
    const std::wstring& base = settings.file.empty() ? settings.prefix : settings.file;
    return base.empty() ? L"qda" : AsNamePart(base, MaxBase);
}

std::wstring ModulePart(const Settings& settings)
{
    return settings.module.empty() ? std::wstring() : L"_" + AsNamePart(settings.module, MaxModule);
}

// A dot inside the extension would make "2.log" of one log the second slot of another.
std::wstring ExtensionPart(const Settings& settings)
{
    std::wstring_view given = settings.extension;
    given.remove_prefix(std::min(given.find_first_not_of(L'.'), given.size()));
    std::wstring part = given.empty() ? L"log" : AsNamePart(given, MaxExtension);
    std::replace(part.begin(), part.end(), L'.', L'_');
    return L"." + part;
}

std::wstring Digits(unsigned long value, std::size_t width)
{
    std::wstring digits = std::to_wstring(value);
    return std::wstring(width - std::min(width, digits.size()), L'0') + digits;
}

std::wstring Stamp(const SYSTEMTIME& time)
{
    return Digits(time.wYear, 4) + Digits(time.wMonth, 2) + Digits(time.wDay, 2) + L"-" +
           Digits(time.wHour, 2) + Digits(time.wMinute, 2) + Digits(time.wSecond, 2);
}

std::wstring SessionPart()
{
    DWORD session = 0;
    ProcessIdToSessionId(GetCurrentProcessId(), &session);
    return std::to_wstring(session);
}

// A process id comes back soon after its process has ended; with the start it does not.
std::wstring ProcessPart()
{
    FILETIME created{}, unused{};
    GetProcessTimes(GetCurrentProcess(), &created, &unused, &unused, &unused);
    return L"_p" + std::to_wstring(GetCurrentProcessId()) + L"_" + Stamp(LocalTime(created));
}

std::wstring SlotPart(unsigned slot)
{
    return slot == 1 ? std::wstring() : L"." + std::to_wstring(slot);
}

// Takes a name apart from the left. A step that does not fit leaves the rest as it was.
class Scanner
{
public:
    explicit Scanner(std::wstring_view name) : rest(name) {}

    bool Take(std::wstring_view literal)
    {
        if (rest.size() < literal.size() ||
            CompareStringOrdinal(rest.data(), static_cast<int>(literal.size()), literal.data(),
                                 static_cast<int>(literal.size()), TRUE) != CSTR_EQUAL)
        {
            return false;
        }
        rest.remove_prefix(literal.size());
        return true;
    }

    bool TakeDigits(std::size_t fewest, std::size_t most)
    {
        const std::size_t count = std::min(rest.find_first_not_of(L"0123456789"), rest.size());
        if (count < fewest || count > most)
        {
            return false;
        }
        rest.remove_prefix(count);
        return true;
    }

    // Tries the steps together: all of them fit, or nothing is taken.
    template <typename Steps>
    bool TakeAll(Steps steps)
    {
        const std::wstring_view before = rest;
        if (steps(*this))
        {
            return true;
        }
        rest = before;
        return false;
    }

    [[nodiscard]] bool AtEnd() const { return rest.empty(); }

private:
    std::wstring_view rest;
};

bool TakeStamp(Scanner& name)
{
    return name.TakeDigits(8, 8) && name.Take(L"-") && name.TakeDigits(6, 6);
}

bool TakeProcess(Scanner& name)
{
    return name.Take(L"_p") && name.TakeDigits(1, 10) && name.Take(L"_") && TakeStamp(name);
}

bool TakeSlot(Scanner& name)
{
    return name.Take(L".") && name.TakeDigits(1, 3);
}

bool TakeAttempt(Scanner& name)
{
    return name.Take(L"-") && name.TakeDigits(1, 2);
}

bool TakeClosed(Scanner& name)
{
    return name.Take(L".") && TakeStamp(name) && name.Take(L"-") && name.TakeDigits(3, 3) &&
           (name.TakeAll(TakeAttempt), true);
}

} // namespace

FileNames::FileNames(const Settings& settings)
    : family(BasePart(settings) + ModulePart(settings) + L"_s"),
      stem(family + SessionPart() + (settings.ownFile ? ProcessPart() : std::wstring())),
      extension(ExtensionPart(settings))
{
}

std::wstring FileNames::Current(unsigned slot) const
{
    return stem + SlotPart(slot) + extension;
}

std::wstring FileNames::Rolled(unsigned slot, const SYSTEMTIME& closed, unsigned attempt) const
{
    const std::wstring again = attempt == 0 ? std::wstring() : L"-" + std::to_wstring(attempt);
    return stem + SlotPart(slot) + L"." + Stamp(closed) + L"-" + Digits(closed.wMilliseconds, 3) + again +
           extension;
}

bool FileNames::IsFamily(std::wstring_view name) const
{
    Scanner rest(name);
    if (!rest.Take(family) || !rest.TakeDigits(1, 10))
    {
        return false;
    }
    rest.TakeAll(TakeProcess);
    rest.TakeAll(TakeSlot);
    rest.TakeAll(TakeClosed);
    return rest.Take(extension) && rest.AtEnd();
}

std::wstring FileNames::FamilyPattern() const
{
    return family + L"*" + extension;
}

} // namespace VzDbgLog
