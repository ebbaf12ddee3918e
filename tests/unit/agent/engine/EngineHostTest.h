#pragma once

#include <gmock/gmock.h>

#include <optional>
#include <string>
#include <vector>

#include "FakeProduct.h"
#include "LogCapture.h"
#include "SpecialEngineHost.h"
#include "TempDir.h"
#include "TempRegistry.h"

// A host of its own in a product folder of its own, with the probe library (tests/programs/EngineProbe) or
// another file as its engine library.
class EngineHostTest : public ::testing::Test
{
protected:
    EngineHostTest();
    ~EngineHostTest() override;

    // Copies a file of tests/programs.
    void CopyProgram(const std::wstring& program, const std::wstring& file, const std::wstring& target);

    // Puts a file of tests/programs into the product's folder as Quenta.dll.
    void Install(const std::wstring& program, const std::wstring& file);

    // The probe library, loaded by the host.
    void InstallProbe();

    // Runs a command as the service link does and gives the reply as compact text. Its status is the one that
    // the reply tells.
    std::wstring ReplyTo(const std::wstring& command);

    // The status of a command, and its answer: null unless the reply is { "data", "retCode" }.
    AgentStatus StatusOf(const std::wstring& command);
    std::wstring DataOf(const std::wstring& command);

    // Makes an engine of the probe library and gives its track id, as text.
    std::wstring Create(const std::wstring& itemId, const std::wstring& sessionId = L"");

    // What the host and its neighbours wrote so far, without the traces and the repeated commands.
    [[nodiscard]] std::vector<std::wstring> Lines() const;

    // What the probe library was asked so far, and how many of its engines there are. 0 without it.
    [[nodiscard]] static std::wstring Events();
    [[nodiscard]] static long Living();

    // Lets the engines go on that wait for a signal.
    static void ReleaseSlowEngines();

    [[nodiscard]] std::wstring LibraryPath() const { return folder.Path(L"Quenta.dll"); }

private:
    std::wstring m_programs; // found before the pretence

protected:
    TestSupport::TempRegistry registry;
    TestSupport::TempDir folder;
    FakeProduct product{L"QxSessionAgent_M.exe", folder.Path()};
    std::optional<TestSupport::LogCapture> log{std::in_place};
    std::optional<CSpecialEngineHost> host{std::in_place};
};

// The reply that holds nothing but an answer, as compact JSON, and a status.
[[nodiscard]] std::wstring PlainAnswer(const std::wstring& data, AgentStatus status);

// A command for an engine: {"action":8193,"trackId":1}, and more members if told.
[[nodiscard]] std::wstring ActionOn(const std::wstring& trackId, std::uint32_t action,
                                    const std::wstring& more = L"");
