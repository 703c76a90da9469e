#include <Oskal/Lib/Cryptography/UEncryptionAlgorithm.h>

namespace Oskal { namespace Lib { namespace Cryptography {

UEncryptionAlgorithm::UEncryptionAlgorithm() {}

UEncryptionAlgorithm::~UEncryptionAlgorithm() {}

}}} // namespace Oskal::Lib::Cryptography
