#pragma once

namespace Oskal
{
namespace Lib
{
namespace Internal
{

// What the library sets up when it is loaded and tears down when it is unloaded (called from
// DllMain, so it must not wait on other threads or load other modules).
class LibraryLifetime
{
public:
    static void Attach();
    static void Detach();
};

} // namespace Internal
} // namespace Lib
} // namespace Oskal
