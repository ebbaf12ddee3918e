#pragma once

#include "Quenta.h"

#include <cstdint>
#include <string>

// What an operation takes from the command, and where its answer goes.
struct EngineArguments
{
    const std::wstring& fixSessionId;
    QxCommon::JsonDb& command;
    QxCommon::JsonDb& data;
};

// How one action of the service is carried out on an engine.
struct EngineOperation
{
    std::uint32_t action = 0;
    const wchar_t* name = nullptr;
    AgentStatus (*run)(ISpecialEngine& engine, const EngineArguments& arguments) = nullptr;
};

// Null if no operation of an engine belongs to the action.
[[nodiscard]] const EngineOperation* FindEngineOperation(std::uint32_t action);
