#pragma once

#include "VzComn_AgentStatus.h"

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Json
{
class Value;
}

namespace QxCommon
{

// A handle on one node of a JSON tree. Text is wide; a failure is a code in LastError.
//
//     JsonDb config;
//     if (!Status::Failed(JsonDb::ParseFromFile(path, config)) && config.HasMember(L"startMode"))
//     {
//         JsonDb items(config[L"startMode"]);
//
// An index operation hands out a handle that belongs to its parent and lives until the next index operation
// on that parent. So root["a"]["b"] is safe, while root["a"].Assign(root["b"]) is not; whoever wants to keep
// a node makes a handle of its own from it, as above. Such a handle stands on the same node and keeps the
// tree alive, but not a node that its parent replaces: a copy of the value is a new JsonDb and Assign.
//
// Reading changes the tree: an index operation makes a missing member or element as null.
//
// A handle that stands on no node, because an index did not fit its parent, reads as 0, false or empty,
// writes nothing, and sets LastError to 87. A tree belongs to one thread at a time.
class JsonDb
{
public:
    // A tree of its own, holding null.
    JsonDb();

    // A second handle on the same node.
    JsonDb(const JsonDb& other);

    // Deliberate: with handles, assignment could mean the node or its value. Assign copies the value.
    JsonDb& operator=(const JsonDb&) = delete;

    ~JsonDb();

    // Reads a JSON file, plain or enciphered, into the handle's node. Fails only if the file cannot be
    // opened: after a syntax error the node holds what was read before it, null if nothing was.
    static AgentStatus ParseFromFile(const std::wstring& path, JsonDb& db);

    // Replaces the node by the JSON text. Returns LastError: 87 if the text does not parse, and then the node
    // holds what was read before the error.
    // Without memory it is 14.
    // Comments stay with their values, unless there are thousands in one long line.
    std::uint32_t ParseFromString(const std::wstring& text);

    // These throw std::bad_alloc if there is no memory for the handle or for what they make.
    JsonDb& operator[](const wchar_t* name);
    JsonDb& operator[](const std::wstring& name);
    JsonDb& operator[](std::int32_t index);
    JsonDb& operator[](std::uint32_t index);

    // True also for a member that is null. False for a node that is not an object.
    [[nodiscard]] bool HasMember(const std::wstring& name) const;

    // Appends the names in ascending order of their 16-bit units.
    void GetMemberNames(std::vector<std::wstring>& names) const;

    // The number of members or elements, 0 for anything else.
    [[nodiscard]] std::uint32_t Size() const;

    // Removes members and elements; any other value becomes null.
    void Clear();

    [[nodiscard]] bool IsNull() const;
    [[nodiscard]] bool IsArray() const;

    // 0 if the value is no number of the type. A string is read in base 10 as far as it is a number; one
    // that is out of range throws std::out_of_range, the one exception of this class that data can cause.
    [[nodiscard]] std::int32_t AsInt() const;
    [[nodiscard]] std::uint32_t AsUInt() const;
    [[nodiscard]] std::uint64_t AsUInt64() const;

    // Empty for null, arrays and objects.
    [[nodiscard]] std::wstring AsString() const;

    JsonDb& SetInt(std::int32_t number);
    JsonDb& SetUInt(std::uint32_t number);

    // Copies the other handle's node, with all below it, over this one's.
    JsonDb& Assign(const JsonDb& other);

    // Both end in a line feed and escape what is not ASCII.
    [[nodiscard]] std::wstring ToStyledString() const;
    [[nodiscard]] std::wstring ToFastString() const;

    // Of the last operation: 0, 87 (invalid parameter or no such node) or 14 (out of memory).
    [[nodiscard]] std::uint32_t LastError() const { return lastError; }

private:
    JsonDb(const boost::shared_ptr<Json::Value>& root, Json::Value* node, std::uint32_t error);

    template <typename Operation>
    void OnNode(Operation operation) const;

    template <typename TextSource>
    void Parse(TextSource textSource);

    JsonDb& HandOut(Json::Value* node);

    // Engine libraries take and give handles by value, so these fields are a contract: none comes or goes.
    std::uint32_t tag = 1;
    boost::shared_ptr<Json::Value> holder; // the root; shared by all handles into the tree
    Json::Value* value = nullptr;          // Weak. Null if there is no such node.
    bool owner = true;                     // false for a handle that an index operation handed out
    std::unique_ptr<JsonDb> child;         // the last handle that an index operation handed out
    mutable std::uint32_t lastError = 0;
};

// AsInt, AsUInt and AsUInt64 for readers to whom a string out of range is no number like any other: 0.
[[nodiscard]] std::int32_t IntOrZero(const JsonDb& node);
[[nodiscard]] std::uint32_t UIntOrZero(const JsonDb& node);
[[nodiscard]] std::uint64_t UInt64OrZero(const JsonDb& node);

} // namespace QxCommon
