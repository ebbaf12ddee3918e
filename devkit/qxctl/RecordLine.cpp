#include "RecordLine.h"

#include "JsonLine.h"

std::wstring RecordLine(QxCommon::JsonDb& record)
{
    if (record.HasMember(L"request"))
    {
        const std::wstring text = record[L"request"].AsString();
        QxCommon::JsonDb request;
        if (text.starts_with(L'{') && request.ParseFromString(text) == 0)
        {
            record[L"request"].Assign(request);
        }
    }
    return JsonLine(record);
}
