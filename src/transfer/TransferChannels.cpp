#include "transfer/TransferChannels.h"

namespace brovant {

bool NoChannel::receive()
{
    return true;
}

bool NoChannel::fetchConfiguration()
{
    return true;
}

bool NoChannel::send()
{
    return false;
}

} // namespace brovant
