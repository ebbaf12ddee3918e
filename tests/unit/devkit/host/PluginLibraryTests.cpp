// Plug-ins of a product team, good and bad.
#include "HostFixture.h"

#include <filesystem>
#include <fstream>

#include "LogCapture.h"
#include "PluginLibrary.h"
#include "UniqueName.h"

namespace
{
constexpr std::uint32_t probeId = 0x4E0200;
constexpr std::uint32_t sampleId = 0x4E0100;

class PluginLibraryTest : public HostFixture
{
protected:
    // Copies a library into the folder of the plug-ins; it stays loaded, so the name is used once.
    void Put(const std::wstring& built, const std::wstring& name)
    {
        const std::filesystem::path own = TestFolder();
        std::filesystem::copy_file(own / built, folder / name);
    }

    void Load() { libraries.Load(folder.wstring(), plugins); }

    bool Logged(const std::wstring& part) const
    {
        for (const std::wstring& text : log.Texts())
        {
            if (text.find(part) != std::wstring::npos)
            {
                return true;
            }
        }
        return false;
    }

    static std::filesystem::path TestFolder()
    {
        wchar_t module[MAX_PATH]{};
        GetModuleFileNameW(nullptr, module, MAX_PATH);
        return std::filesystem::path(module).parent_path();
    }

    TestSupport::LogCapture log;
    SvcHost::PluginLibraries libraries{commander};
    const std::filesystem::path folder = MakeFolder();

private:
    // Loaded libraries cannot be deleted, so each run clears away what the earlier ones left.
    static std::filesystem::path MakeFolder()
    {
        const std::filesystem::path all = TestFolder() / L"plugin-folders";
        std::filesystem::create_directories(all);
        std::error_code ignored;
        for (const auto& old : std::filesystem::directory_iterator(all))
        {
            std::filesystem::remove_all(old.path(), ignored);
        }
        const std::filesystem::path made = all / TestSupport::UniqueName(L"plugins");
        std::filesystem::create_directories(made);
        return made;
    }
};
} // namespace

TEST_F(PluginLibraryTest, TakesTheMailsOfItsId)
{
    Put(L"ProbeWorks.dll", L"works.dll");
    Load();
    EXPECT_TRUE(Logged(L"plug-in loaded, file="));
    EXPECT_EQ(Send(probeId, 1, L"{\"echo\":1}").json, L"{\"echo\":1}");
    EXPECT_EQ(Send(probeId, 4).json, L"{}");
    EXPECT_EQ(Send(probeId, 4, std::nullopt).json, std::nullopt);
}

TEST_F(PluginLibraryTest, IsContainedWhenAMailThrows)
{
    Put(L"ProbeWorks.dll", L"works.dll");
    Load();
    EXPECT_EQ(Send(probeId, 2).result, Status::Failure);
    EXPECT_EQ(Send(probeId, 5).result, Status::Failure);
    EXPECT_EQ(Send(probeId, 1, L"{}").result, Status::Success);
}

TEST_F(PluginLibraryTest, CallsAClientBack)
{
    Put(L"ProbeWorks.dll", L"works.dll");
    Load();
    EXPECT_EQ(Send(probeId, 3).result, Status::NotFound);
    Register();
    const Reply reply = Send(probeId, 3);
    EXPECT_EQ(reply.result, Status::Success);
    EXPECT_EQ(reply.json, L"{\"retCode\":553582592}\n");
    EXPECT_EQ(commands, std::vector<std::wstring>{L"{}"});
}

TEST_F(PluginLibraryTest, IsStoppedOnce)
{
    Put(L"ProbeWorks.dll", L"works.dll");
    Load();
    libraries.Stop();
    EXPECT_TRUE(Logged(L"stopped"));
    log.Clear();
    libraries.Stop();
    EXPECT_FALSE(Logged(L"stopped"));
}

TEST_F(PluginLibraryTest, IsRefusedWhenItCannotBeUsed)
{
    const wchar_t* bad[] = {L"ProbeCrashesInFactory", L"ProbeThrowsInFactory", L"ProbeMakesNothing",
                            L"ProbeOtherVersion",     L"ProbeCrashesAtStart",  L"ProbeRefusesToStart",
                            L"ProbeCrashesOnLoad"};
    for (const std::wstring name : bad)
    {
        Put(name + L".dll", name + L".dll");
    }
    std::ofstream(folder / L"text.dll") << "no library";
    Put(L"ProbeWorks.dll", L"zworks.dll");
    Load();
    for (const std::wstring name : bad)
    {
        EXPECT_TRUE(Logged(L"plug-in refused, file=" + (folder / name).wstring())) << name.c_str();
    }
    EXPECT_EQ(Send(probeId, 1, L"{}").result, Status::Success);
}

TEST_F(PluginLibraryTest, IsRefusedWhenItsIdIsTaken)
{
    Put(L"ProbeWorks.dll", L"a.dll");
    Put(L"ProbeWorks.dll", L"b.dll");
    Load();
    EXPECT_TRUE(Logged(L"its id is 0 or taken"));
    EXPECT_EQ(Send(probeId, 1, L"{}").result, Status::Success);
}

TEST_F(PluginLibraryTest, NeedsNoFolder)
{
    libraries.Load(folder.wstring() + L"\\missing", plugins);
    EXPECT_EQ(Send(probeId, 1).result, Status::NotFound);
}

TEST_F(PluginLibraryTest, BuildsFromTheTemplate)
{
    Put(L"SamplePlugin.dll", L"SamplePlugin.dll");
    Load();
    EXPECT_EQ(Send(sampleId, 1).json,
              L"{\"greeting\":\"Hello, process " + std::to_wstring(client.processId) + L"\"}");
    Register();
    EXPECT_EQ(Send(sampleId, 2).json, L"{\"retCode\":553582592}\n");
    EXPECT_EQ(commands, std::vector<std::wstring>{L"{\"JD_COMMAND_ID\":3000}"});
    EXPECT_EQ(Send(sampleId, 3).result, Status::NotFound);
}
