#include "strings/ListPL.h"

NoMoreItemsException::NoMoreItemsException()
    : ExceptionPL("A ListPL iterator walked off the end of the list.") {}

void ThrowNoMoreItems() { throw NoMoreItemsException(); }
