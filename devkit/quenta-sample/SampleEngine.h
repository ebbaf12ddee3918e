#pragma once

#include "Quenta.h"

// What an engine answers to operations that it has no use for.
class SampleEngine : public ISpecialEngine
{
public:
    AgentStatus Perform() override { return Status::NotFound; }

    AgentStatus PerformFix(std::wstring /*fixSessionId*/, QxCommon::JsonDb& /*param*/) override
    {
        return Status::NotFound;
    }

    QxCommon::JsonDb Query() override { return {}; }

    QxCommon::JsonDb QueryByKey(std::wstring /*key*/) override { return {}; }

    void PutDetails(std::wstring /*key*/, QxCommon::JsonDb /*details*/) override {}

    QxCommon::JsonDb QueryFix(std::wstring /*fixSessionId*/) override { return {}; }

    QxCommon::JsonDb QueryFixDetail(std::wstring /*fixSessionId*/) override { return {}; }

    std::int32_t Initialize() override { return Status::Success; }

    void Signal() override {}
};
