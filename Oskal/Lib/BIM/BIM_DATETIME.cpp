#include <Oskal/Lib/BIM/BIM_DATETIME.h>

#include <windows.h>

namespace Oskal { namespace Lib { namespace BIM {

static_assert(sizeof(BIM_DATETIME) == 8, "BIM_DATETIME is stored as 8 bytes");

BIM_DATETIME::BIM_DATETIME() : byDay(0), byMonth(0), wYear(0), byHour(0), byMinute(0), bySecond(0), byReserved(0) {}

BIM_DATETIME::BIM_DATETIME(const _SYSTEMTIME& time)
    : byDay(static_cast<unsigned char>(time.wDay)), byMonth(static_cast<unsigned char>(time.wMonth)), wYear(time.wYear),
      byHour(static_cast<unsigned char>(time.wHour)), byMinute(static_cast<unsigned char>(time.wMinute)),
      bySecond(static_cast<unsigned char>(time.wSecond)), byReserved(0)
{
}

}}} // namespace Oskal::Lib::BIM
