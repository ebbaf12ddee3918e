#pragma once

#include <string>
#include <vector>

#include "ImportPatch.h"

namespace TestSupport
{
class LogCapture;
}

// Makes the test program the executable of that name, in a folder of the test's choice, for every call that
// asks for the running module. One at a time, made before anything asks for the product.
class FakeProduct
{
public:
    explicit FakeProduct(const std::wstring& fileName, const std::wstring& folder = L"C:\\Product");
    ~FakeProduct();

    FakeProduct(const FakeProduct&) = delete;
    FakeProduct& operator=(const FakeProduct&) = delete;

private:
    TestSupport::ImportPatch m_patch;
};

// The message texts of the captured lines, but for those that contain the word.
[[nodiscard]] std::vector<std::wstring> MessagesBut(const TestSupport::LogCapture& log,
                                                    const std::wstring& word);
