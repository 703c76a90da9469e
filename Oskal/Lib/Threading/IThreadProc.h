#pragma once

namespace Oskal
{
namespace Lib
{
namespace Threading
{

// What a UThread runs. The value returned becomes the thread's exit code.
class IThreadProc
{
public:
    virtual unsigned long ThreadProc(void* pArg1, void* pArg2, void* pArg3) = 0;

protected:
    // Not deleted through this interface: the thread never owns its procedure object.
    ~IThreadProc() = default;
};

} // namespace Threading
} // namespace Lib
} // namespace Oskal
