#include "data/ApplyFilter.h"

#include "data/StartReceiveAndEnd.h"
#include "data/StringReceiver.h"

std::string ApplyFilter(ConstData data, DataFilter& filter) {
    std::string result;
    StringReceiver receiver;
    StartReceiveAndEnd(receiver(result), data, filter);
    return result;
}
