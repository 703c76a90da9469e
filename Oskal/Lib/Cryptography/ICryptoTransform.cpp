#include <Oskal/Lib/Cryptography/ICryptoTransform.h>

namespace Oskal { namespace Lib { namespace Cryptography {

ICryptoTransform::ICryptoTransform() {}

ICryptoTransform::ICryptoTransform(const ICryptoTransform&) {}

ICryptoTransform& ICryptoTransform::operator=(const ICryptoTransform&)
{
    return *this;
}

ICryptoTransform::~ICryptoTransform() {}

}}} // namespace Oskal::Lib::Cryptography
