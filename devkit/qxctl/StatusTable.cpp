#include "StatusTable.h"

#include <algorithm>
#include <array>
#include <vector>

#include "JsonQuote.h"

namespace
{
constexpr std::size_t columnCount = 5;

using Row = std::array<std::wstring, columnCount>;

struct Column
{
    const wchar_t* title;
    const wchar_t* key;
    bool isNumber; // stands to the right
};

constexpr std::array<Column, columnCount> columns = {{
    {L"PROCESS", L"processId", true},
    {L"SESSION", L"sessionId", true},
    {L"NAME", L"clientName", false},
    {L"REGISTERED", L"registeredAt", false},
    {L"MAILS", L"mails", true},
}};

// What a client calls itself may hold what a terminal would obey.
std::wstring Cell(const QxCommon::JsonDb& value)
{
    constexpr wchar_t replacement = 0xFFFD;
    std::wstring text = value.AsString();
    std::replace_if(text.begin(), text.end(), IsControl, replacement);
    return text;
}

std::vector<Row> Rows(QxCommon::JsonDb& clients)
{
    std::vector<Row> rows(1);
    std::transform(columns.begin(), columns.end(), rows[0].begin(),
                   [](const Column& column) { return column.title; });
    for (std::uint32_t i = 0; i < clients.Size(); ++i)
    {
        QxCommon::JsonDb& client = clients[i];
        Row& row = rows.emplace_back();
        std::transform(columns.begin(), columns.end(), row.begin(),
                       [&client](const Column& column) { return Cell(client[column.key]); });
    }
    return rows;
}

std::wstring Table(const std::vector<Row>& rows)
{
    std::array<std::size_t, columnCount> widths{};
    for (const Row& row : rows)
    {
        for (std::size_t i = 0; i < columnCount; ++i)
        {
            widths[i] = std::max(widths[i], row[i].size());
        }
    }
    std::wstring text;
    for (const Row& row : rows)
    {
        std::wstring line;
        for (std::size_t i = 0; i < columnCount; ++i)
        {
            const std::wstring blanks(widths[i] - row[i].size(), L' ');
            line += i == 0 ? L"" : L"  ";
            line += columns[i].isNumber ? blanks + row[i] : row[i] + blanks;
        }
        text += line + L'\n';
    }
    return text;
}
} // namespace

std::wstring StatusTable(const QxCommon::JsonDb& reply)
{
    QxCommon::JsonDb root(reply);
    QxCommon::JsonDb service(root[L"service"]);
    QxCommon::JsonDb clients(root[L"clients"]);
    std::wstring text = L"Service  " + service[L"name"].AsString() + L", running\n" + L"Process  " +
                        service[L"processId"].AsString() + L", since " + service[L"startedAt"].AsString() +
                        L'\n' + L"Clients  " + std::to_wstring(clients.Size()) + L'\n';
    return clients.Size() == 0 ? text : text + L'\n' + Table(Rows(clients));
}
