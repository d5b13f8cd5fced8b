// The reader without any bytes. DataReader::Empty() is the instance for all who need one.
#pragma once

#include "data/DataReader.h"

class EmptyDataReader : public DataReader {
public:
    using DataReader::operator>>;

    bool Finished() const override;

    // Leaves `target` as it is.
    DataReader& operator>>(Buffer& target) override;
};
