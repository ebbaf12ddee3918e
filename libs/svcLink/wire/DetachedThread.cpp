#include "DetachedThread.h"

#include <memory>
#include <utility>

namespace SvcLink
{

namespace
{

using Body = std::function<void()>;

DWORD WINAPI Run(void* parameter)
{
    const std::unique_ptr<Body> body(static_cast<Body*>(parameter));
    (*body)();
    return 0;
}

} // namespace

VzCommon::KernelHandle RunOnThread(std::function<void()> body)
{
    auto owned = std::make_unique<Body>(std::move(body));
    VzCommon::KernelHandle thread(CreateThread(nullptr, 0, &Run, owned.get(), 0, nullptr));
    if (thread)
    {
        static_cast<void>(owned.release()); // the thread's now
    }
    return thread;
}

} // namespace SvcLink
