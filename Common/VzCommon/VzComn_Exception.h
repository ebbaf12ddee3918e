#pragma once

#include <cstdint>
#include <string>
#include <utility>

namespace VzCommon::Exception
{

// The root of the library's exceptions. Thrown as a pointer to a heap object; whoever catches it deletes it:
//
//     catch (VzCommon::Exception::Base* caught)
//     {
//         const std::unique_ptr<VzCommon::Exception::Base> exception(caught);
//
// A catch-all alone would leak the object, so this clause comes before it.
class Base
{
public:
    Base(std::uint32_t errorCode, std::uint32_t sourceLine, std::string file)
        : code(errorCode), line(sourceLine), sourceFile(std::move(file))
    {
    }

    virtual ~Base() = default;

    Base(const Base&) = delete;
    Base& operator=(const Base&) = delete;

    const std::uint32_t code; // a Windows error code or another number; 0 is valid
    const std::uint32_t line; // of the throw
    const std::string sourceFile;
};

// A new exception. The code comes as a finished value, so a GetLastError there is read before any allocation.
template <typename Exception, typename... Details>
[[nodiscard]] Exception* Make(std::uint32_t code, std::uint32_t line, const char* file,
                              const Details&... details)
{
    return new Exception(code, line, file, details...);
}

} // namespace VzCommon::Exception

// Throws a new exception of the given class with this place as its line and file. Arguments behind the code
// go to the class's constructor behind the base's three.
#define VZ_THROW(ExceptionClass, code, ...)                                                                  \
    throw VzCommon::Exception::Make<ExceptionClass>((code), __LINE__, __FILE__ __VA_OPT__(, ) __VA_ARGS__)
