#pragma once

#include <cstdint>
#include <string>

// Which product of the family this process belongs to. Nothing but the executable's own file name decides it:
// QxSessionAgent.exe is the row without a suffix, QxSessionAgent_M.exe the row with the suffix "M".
//
// The first call of GetProductId belongs on the main thread, before another thread exists. From then on the
// answer is constant and every function here may be called on any thread.
namespace QxCommon
{

// One row of the product table.
struct FrwkMode
{
    std::int32_t number;
    const wchar_t* productId;
    const wchar_t* suffix; // in the executable's name, behind its last "_"; compared without regard to case
};

// The name from which the names of kernel objects, of the service and of the registry key are built. Empty if
// the executable's suffix is no product's; that is not an error.
[[nodiscard]] std::wstring GetProductId();

// The number of the running product, -1 if it has none.
[[nodiscard]] std::int32_t GetProductNumber();

// True for the one product that has a tray and runs start functions.
[[nodiscard]] bool IsFrwkModeOne();

// The name under which another program of the family belongs to the running product: "QxMainConsole.exe" is
// "QxMainConsole_M.exe" for the product with the suffix "M". A name without an extension stays as it is.
[[nodiscard]] std::wstring MapProductFileName(const std::wstring& name);

} // namespace QxCommon
