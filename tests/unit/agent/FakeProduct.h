#pragma once

#include <cstdint>
#include <string>

#include "ImportPatch.h"

// Everything but DEBUG, at which the product's identity tells each question for it.
inline constexpr std::uint32_t logLevels = 0x0111;

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
