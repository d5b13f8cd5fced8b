#include "data/EmptyDataReader.h"

bool EmptyDataReader::Finished() const { return true; }

DataReader& EmptyDataReader::operator>>(Buffer&) { return *this; }
