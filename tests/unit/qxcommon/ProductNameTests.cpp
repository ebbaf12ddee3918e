#include "TempDir.h"
#include "VzComn_Handle.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <string>
#include <vector>

using TestSupport::TempDir;

namespace
{

struct Product
{
    const wchar_t* id;
    const wchar_t* number;
    const wchar_t* isOne;
    const wchar_t* consoleName;
};

constexpr Product oravex = {L"Oravex", L"0", L"other", L"QxMainConsole.exe"};
constexpr Product melvio = {L"Melvio", L"1", L"one", L"QxMainConsole_M.exe"};
constexpr Product brisketta = {L"Brisketta", L"2", L"other", L"QxMainConsole_B.exe"};
constexpr Product none = {L"", L"-1", L"other", L"QxMainConsole.exe"};

std::wstring ProbePath()
{
    wchar_t module[MAX_PATH]{};
    GetModuleFileNameW(nullptr, module, MAX_PATH);
    const std::wstring path = module;
    return path.substr(0, path.rfind(L'\\') + 1) + L"ProductProbe.exe";
}

bool RunToEnd(const std::wstring& program, const std::wstring& argument)
{
    std::wstring commandLine = L"\"" + program + L"\" \"" + argument + L"\"";
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION started{};
    if (!CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &started))
    {
        return false;
    }
    const VzCommon::KernelHandle process(started.hProcess);
    const VzCommon::KernelHandle thread(started.hThread);
    DWORD exitCode = 1;
    return WaitForSingleObject(started.hProcess, 60000) == WAIT_OBJECT_0 &&
           GetExitCodeProcess(started.hProcess, &exitCode) && exitCode == 0;
}

std::vector<std::wstring> SplitAtNuls(const std::string& bytes)
{
    std::wstring text(bytes.size() / sizeof(wchar_t), L'\0');
    std::memcpy(text.data(), bytes.data(), text.size() * sizeof(wchar_t));
    std::vector<std::wstring> parts;
    for (std::size_t at = 0; at < text.size(); at += parts.back().size() + 1)
    {
        parts.emplace_back(text.c_str() + at);
    }
    return parts;
}

// Starts the probe under the name, which may hold folders.
std::vector<std::wstring> AnswersOf(const TempDir& folder, const std::wstring& name)
{
    const std::wstring program = folder.Write(name, "");
    const std::wstring answers = folder.Path(L"answers");
    EXPECT_TRUE(CopyFileW(ProbePath().c_str(), program.c_str(), FALSE));
    EXPECT_TRUE(RunToEnd(program, answers));
    return SplitAtNuls(folder.Read(L"answers"));
}

void ExpectProduct(const std::wstring& name, const Product& product)
{
    SCOPED_TRACE(testing::PrintToString(name));
    const TempDir folder;
    const std::vector<std::wstring> answers = AnswersOf(folder, name);
    ASSERT_EQ(answers.size(), 8U);
    EXPECT_EQ(answers[0], product.id);
    EXPECT_EQ(answers[1], product.number);
    EXPECT_EQ(answers[2], product.isOne);
    EXPECT_EQ(answers[3], product.consoleName);
    const std::wstring program = folder.Path(name);
    const std::wstring programFolder = program.substr(0, program.rfind(L'\\'));
    EXPECT_EQ(answers[4], programFolder);
    EXPECT_EQ(answers[5], programFolder + L"\\Configuration");
    EXPECT_EQ(answers[6], programFolder + L"\\win32");
    EXPECT_EQ(answers[7], std::wstring(L"SOFTWARE\\NorvaneSoft\\") + product.id);
}

} // namespace

TEST(ProductNameTest, TakesANameWithoutASuffixForTheFirstProduct)
{
    ExpectProduct(L"QxSessionAgent.exe", oravex);
    ExpectProduct(L"a_.exe", oravex);
    ExpectProduct(L"noextension", oravex);
}

TEST(ProductNameTest, TakesTheSuffixBehindTheLastUnderscoreInEitherCase)
{
    ExpectProduct(L"QxSessionAgent_M.exe", melvio);
    ExpectProduct(L"QxSessionAgent_m.exe", melvio);
    ExpectProduct(L"a_b_M.exe", melvio);
    ExpectProduct(L"_M.exe", melvio);
    ExpectProduct(L"Agent_b.exe", brisketta);
}

TEST(ProductNameTest, CutsAtTheLastDotOnly)
{
    ExpectProduct(L"Agent.v2_M.exe", melvio);
    ExpectProduct(L"a_M.x.exe", none);
    ExpectProduct(L"noextension_B", brisketta);
}

TEST(ProductNameTest, IsNoProductUnderAnUnknownSuffix)
{
    ExpectProduct(L"my_copy.exe", none);
    ExpectProduct(L"a_EndFlag.exe", none);
    ExpectProduct(L"a_MM.exe", none);
    ExpectProduct(L"a_M .exe", none);
}

TEST(ProductNameTest, LooksAtTheFileNameAndNotAtItsFolder)
{
    ExpectProduct(L"folder_M\\Agent.exe", oravex);
    ExpectProduct(L"folder.M_B\\Agent_M.exe", melvio);
}
