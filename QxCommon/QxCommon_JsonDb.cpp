#define LOG_CLASS_TAG L"QxCommon"
#include "QxCommon_JsonDb.h"

#include "QxCommon_JsonFile.h"
#include "QxCommon_JsonNumber.h"
#include "QxCommon_JsonReading.h"
#include "QxCommon_JsonText.h"
#include "VzComn_LogFront.h"

#include <boost/smart_ptr/make_shared.hpp>
#include <json/value.h>
#include <json/writer.h>
#include <windows.h>

#include <algorithm>
#include <fstream>
#include <new>
#include <stdexcept>

// The writers whose behaviour is wanted here are the older ones of the library.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace QxCommon
{
namespace
{
// The numbers of LastError.
constexpr std::uint32_t noError = ERROR_SUCCESS;
constexpr std::uint32_t invalidParameter = ERROR_INVALID_PARAMETER;
constexpr std::uint32_t outOfMemory = ERROR_OUTOFMEMORY;

std::wstring TextOf(const Json::Value& node)
{
    return JsonText::ToWide(node.asString());
}

template <typename Number>
Number NumberOf(const Json::Value& node, Number (*readText)(const std::wstring&))
{
    switch (node.type())
    {
    case Json::booleanValue: return node.asBool() ? 1 : 0;
    case Json::intValue: return JsonNumber::FromInteger<Number>(node.asLargestInt());
    case Json::uintValue: return JsonNumber::FromInteger<Number>(node.asLargestUInt());
    case Json::realValue: return JsonNumber::FromReal<Number>(node.asDouble());
    case Json::stringValue: return readText(TextOf(node));
    default: return 0;
    }
}

std::wstring StringOf(const Json::Value& node)
{
    switch (node.type())
    {
    case Json::booleanValue: return node.asBool() ? L"true" : L"false";
    case Json::intValue: return std::to_wstring(node.asLargestInt());
    case Json::uintValue: return std::to_wstring(node.asLargestUInt());
    case Json::realValue: return JsonNumber::FormatReal(node.asDouble());
    case Json::stringValue: return TextOf(node);
    default: return {};
    }
}

// Gives 0 if the reading operation throws.
template <typename Number>
Number ReadOrZero(const JsonDb& node, Number (JsonDb::*read)() const)
{
    try
    {
        return (node.*read)();
    }
    catch (const std::out_of_range&)
    {
        return 0;
    }
}

} // namespace

static_assert(sizeof(JsonDb) == 56, "engine libraries are built on this layout");

// Runs the operation on the node and sets lastError: to the operation's own code if it leaves one.
template <typename Operation>
void JsonDb::OnNode(Operation operation) const
{
    lastError = value != nullptr ? noError : invalidParameter;
    if (value == nullptr)
    {
        return;
    }
    try
    {
        operation(*value);
    }
    catch (const std::bad_alloc&)
    {
        lastError = outOfMemory;
    }
    catch (const Json::Exception&) // the tree's word for memory that malloc does not have
    {
        lastError = outOfMemory;
    }
}

template <typename TextSource>
void JsonDb::Parse(TextSource textSource)
{
    OnNode(
        [&](Json::Value& node)
        {
            node = Json::Value();
            lastError = JsonReading::Read(node, textSource()) ? noError : invalidParameter;
        });
}

JsonDb::JsonDb()
{
    try
    {
        holder = boost::make_shared<Json::Value>();
        value = holder.get();
    }
    catch (const std::bad_alloc&)
    {
        lastError = outOfMemory;
    }
}

JsonDb::JsonDb(const JsonDb& other)
    : holder(other.holder), value(other.value), lastError(other.value != nullptr ? noError : invalidParameter)
{
}

JsonDb::JsonDb(const boost::shared_ptr<Json::Value>& root, Json::Value* node, std::uint32_t error)
    : holder(root), value(node), owner(false), lastError(error)
{
}

JsonDb::~JsonDb() = default;

AgentStatus JsonDb::ParseFromFile(const std::wstring& path, JsonDb& db)
{
    std::ifstream file(path.c_str());
    if (!file.is_open())
    {
        const DWORD error = GetLastError();
        LOG_ERROR << L"failed to open file <" << path << L">, error = " << error;
        return Status::FileNotOpened;
    }
    // Deliberate: a file that could be opened is a success, whatever it held.
    db.Parse([&file] { return JsonFile::ReadText(file); });
    return Status::Success;
}

std::uint32_t JsonDb::ParseFromString(const std::wstring& text)
{
    Parse([&text] { return JsonText::ToUtf8(text); });
    return lastError;
}

JsonDb& JsonDb::operator[](const wchar_t* name)
{
    if (name == nullptr)
    {
        lastError = invalidParameter;
        return HandOut(nullptr);
    }
    return (*this)[std::wstring(name)];
}

JsonDb& JsonDb::operator[](const std::wstring& name)
{
    Json::Value* member = nullptr;
    OnNode(
        [&](Json::Value& node)
        {
            if (node.isObject() || node.isNull())
            {
                member = &node[JsonText::ToUtf8(name)];
            }
            else
            {
                lastError = invalidParameter;
            }
        });
    return HandOut(member);
}

JsonDb& JsonDb::operator[](std::int32_t index)
{
    if (index < 0)
    {
        lastError = invalidParameter;
        return HandOut(nullptr);
    }
    return (*this)[static_cast<std::uint32_t>(index)];
}

JsonDb& JsonDb::operator[](std::uint32_t index)
{
    Json::Value* element = nullptr;
    OnNode(
        [&](Json::Value& node)
        {
            if (node.isArray() || node.isNull())
            {
                element = &node[index];
            }
            else
            {
                lastError = invalidParameter;
            }
        });
    return HandOut(element);
}

JsonDb& JsonDb::HandOut(Json::Value* node)
{
    if (lastError == outOfMemory)
    {
        throw std::bad_alloc(); // a caller that writes to no node would take its tree for complete
    }
    child.reset(new JsonDb(holder, node, lastError));
    return *child;
}

bool JsonDb::HasMember(const std::wstring& name) const
{
    bool hasMember = false;
    OnNode([&](const Json::Value& node)
           { hasMember = node.isObject() && node.isMember(JsonText::ToUtf8(name)); });
    return hasMember;
}

void JsonDb::GetMemberNames(std::vector<std::wstring>& names) const
{
    OnNode(
        [&](const Json::Value& node)
        {
            if (!node.isObject())
            {
                return;
            }
            std::vector<std::wstring> found;
            for (const std::string& name : node.getMemberNames())
            {
                found.push_back(JsonText::ToWide(name));
            }
            // The tree keeps the order of the bytes, which is another one beyond U+D7FF.
            std::sort(found.begin(), found.end());
            names.insert(names.end(), found.begin(), found.end());
        });
}

std::uint32_t JsonDb::Size() const
{
    std::uint32_t size = 0;
    OnNode([&size](const Json::Value& node) { size = node.size(); });
    return size;
}

void JsonDb::Clear()
{
    OnNode(
        [](Json::Value& node)
        {
            if (node.isObject() || node.isArray())
            {
                node.clear();
            }
            else
            {
                node = Json::Value();
            }
        });
}

bool JsonDb::IsNull() const
{
    bool isNull = false;
    OnNode([&isNull](const Json::Value& node) { isNull = node.isNull(); });
    return isNull;
}

bool JsonDb::IsArray() const
{
    bool isArray = false;
    OnNode([&isArray](const Json::Value& node) { isArray = node.isArray(); });
    return isArray;
}

std::int32_t JsonDb::AsInt() const
{
    std::int32_t number = 0;
    OnNode([&number](const Json::Value& node) { number = NumberOf(node, &JsonNumber::ReadInt); });
    return number;
}

std::uint32_t JsonDb::AsUInt() const
{
    std::uint32_t number = 0;
    OnNode([&number](const Json::Value& node) { number = NumberOf(node, &JsonNumber::ReadUInt); });
    return number;
}

std::uint64_t JsonDb::AsUInt64() const
{
    std::uint64_t number = 0;
    OnNode([&number](const Json::Value& node) { number = NumberOf(node, &JsonNumber::ReadUInt64); });
    return number;
}

std::wstring JsonDb::AsString() const
{
    std::wstring text;
    OnNode([&text](const Json::Value& node) { text = StringOf(node); });
    return text;
}

JsonDb& JsonDb::SetInt(std::int32_t number)
{
    OnNode([number](Json::Value& node) { node = number; });
    return *this;
}

JsonDb& JsonDb::SetUInt(std::uint32_t number)
{
    OnNode([number](Json::Value& node) { node = number; });
    return *this;
}

JsonDb& JsonDb::Assign(const JsonDb& other)
{
    if (other.value == nullptr)
    {
        lastError = invalidParameter;
        return *this;
    }
    OnNode([&other](Json::Value& node) { node = *other.value; });
    return *this;
}

std::wstring JsonDb::ToStyledString() const
{
    std::wstring text;
    OnNode([&text](const Json::Value& node) { text = JsonText::ToWide(Json::StyledWriter().write(node)); });
    return text;
}

std::wstring JsonDb::ToFastString() const
{
    std::wstring text;
    OnNode([&text](const Json::Value& node) { text = JsonText::ToWide(Json::FastWriter().write(node)); });
    return text;
}

std::int32_t IntOrZero(const JsonDb& node)
{
    return ReadOrZero(node, &JsonDb::AsInt);
}

std::uint32_t UIntOrZero(const JsonDb& node)
{
    return ReadOrZero(node, &JsonDb::AsUInt);
}

std::uint64_t UInt64OrZero(const JsonDb& node)
{
    return ReadOrZero(node, &JsonDb::AsUInt64);
}

} // namespace QxCommon
