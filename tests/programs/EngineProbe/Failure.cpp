#include "Failure.h"

#include "VzComn_Exception.h"

#include <new>
#include <stdexcept>

namespace
{

struct OwnException
{
    std::string text;
};

} // namespace

void ThrowKind(const std::wstring& kind)
{
    if (kind == L"exception")
    {
        throw std::runtime_error("no power");
    }
    if (kind == L"memory")
    {
        throw std::bad_alloc();
    }
    if (kind == L"library")
    {
        VZ_THROW(VzCommon::Exception::Base, 1234);
    }
    if (kind == L"null")
    {
        throw nullptr;
    }
    if (kind == L"number")
    {
        throw 5;
    }
    if (kind == L"text")
    {
        throw "a text";
    }
    if (kind == L"own")
    {
        throw OwnException{"a text that is on the heap, being too long to be anywhere else"};
    }
}
