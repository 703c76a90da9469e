#pragma once

#include <Oskal/Lib/Export.h>

struct _SYSTEMTIME;

namespace Oskal { namespace Lib { namespace BIM {

// Date and time of creation as stored in the header: 8 bytes, seconds resolution.
struct OSKAL_LIB_API BIM_DATETIME
{
    // All 8 bytes 0.
    BIM_DATETIME();
    // Day, month, year, hour, minute and second of the system time; milliseconds and day of
    // week are dropped.
    explicit BIM_DATETIME(const _SYSTEMTIME& time);

    unsigned char byDay;
    unsigned char byMonth;
    unsigned short wYear;
    unsigned char byHour;
    unsigned char byMinute;
    unsigned char bySecond;
    // Written as 0.
    unsigned char byReserved;
};

}}} // namespace Oskal::Lib::BIM
