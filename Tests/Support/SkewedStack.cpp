#include "Support/SkewedStack.h"

#include <Oskal/Lib/Win32Api.h>

#include <cstdio>
#include <exception>
#include <stdexcept>

// Calls pfn(pvArg) with the stack pointer at skew (mod 16) just before the call instruction;
// skew 0 is what an aligned caller gives. pfn must not throw: no unwind information crosses
// this frame.
extern "C" void OskalCallOnSkewedStack(void (*pfn)(void*), void* pvArg, unsigned skew);

__asm__(".text\n"
        ".globl _OskalCallOnSkewedStack\n"
        "_OskalCallOnSkewedStack:\n"
        "    pushl %ebp\n"
        "    movl %esp, %ebp\n"
        "    movl 8(%ebp), %eax\n"  // pfn
        "    movl 12(%ebp), %ecx\n" // pvArg
        "    movl 16(%ebp), %edx\n" // skew
        "    andl $-16, %esp\n"
        "    subl $32, %esp\n"
        "    addl $4, %esp\n"  // after the argument's push below, esp is 0 mod 16 ...
        "    addl %edx, %esp\n" // ... plus the skew
        "    pushl %ecx\n"
        "    call *%eax\n"
        "    movl %ebp, %esp\n"
        "    popl %ebp\n"
        "    ret\n");

namespace OskalTests {

namespace
{

struct Run
{
    const char* pszPath;
    const std::function<void()>* pBody;
    unsigned skew;
    const char* pszThread;
    std::exception_ptr error;
};

// The path being run, for the fault report; one at a time per process.
Run* volatile g_pCurrent = nullptr;

LONG CALLBACK ReportFault(EXCEPTION_POINTERS* pInfo)
{
    const DWORD code = pInfo->ExceptionRecord->ExceptionCode;
    Run* run = g_pCurrent;
    if (run == nullptr || (code != EXCEPTION_ACCESS_VIOLATION && code != EXCEPTION_ILLEGAL_INSTRUCTION &&
                           code != EXCEPTION_PRIV_INSTRUCTION && code != EXCEPTION_DATATYPE_MISALIGNMENT &&
                           code != EXCEPTION_STACK_OVERFLOW))
        return EXCEPTION_CONTINUE_SEARCH;
    std::fprintf(stderr, "FAULT 0x%08lx at %p in '%s', stack skewed by %u, on the %s thread\n",
                 static_cast<unsigned long>(code), pInfo->ExceptionRecord->ExceptionAddress, run->pszPath,
                 run->skew, run->pszThread);
    std::fflush(stderr);
    TerminateProcess(GetCurrentProcess(), 3);
    return EXCEPTION_CONTINUE_SEARCH;
}

void CallBody(void* pvRun)
{
    Run* run = static_cast<Run*>(pvRun);
    try
    {
        (*run->pBody)();
    }
    catch (...)
    {
        run->error = std::current_exception();
    }
}

void RunAllSkews(Run* run)
{
    for (unsigned skew = 0; skew < 16 && !run->error; skew += 4)
    {
        run->skew = skew;
        g_pCurrent = run;
        OskalCallOnSkewedStack(&CallBody, run, skew);
        g_pCurrent = nullptr;
    }
}

DWORD WINAPI ThreadEntry(void* pvRun)
{
    RunAllSkews(static_cast<Run*>(pvRun));
    return 0;
}

} // namespace

void RunOnSkewedStacks(const char* pszPath, const std::function<void()>& fnBody)
{
    static void* s_handler = AddVectoredExceptionHandler(1, &ReportFault);
    (void)s_handler;

    Run run{pszPath, &fnBody, 0, "calling", nullptr};
    RunAllSkews(&run);
    if (run.error)
        std::rethrow_exception(run.error);

    run.pszThread = "CreateThread";
    HANDLE thread = CreateThread(nullptr, 0, &ThreadEntry, &run, 0, nullptr);
    if (thread == nullptr)
        throw std::runtime_error("CreateThread failed");
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
    if (run.error)
        std::rethrow_exception(run.error);
}

} // namespace OskalTests
