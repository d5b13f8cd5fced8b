// A file as the last stage of a pipeline.
#pragma once

#include "data/ConstData.h"
#include "data/DataReceiver.h"
#include "files/FileWriter.h"

class FileWritingPath;

// Writes the stream to an open file, chunk by chunk without buffering. Each Start begins again at
// the bound position. ReceiveEnd does not close the path, and does not truncate a longer file.
//
// Error handling: like FileWriter; the flush like FileWritingPath::Flush.
class FileDataSink : private DataReceiver {
public:
    // Whether ReceiveEnd waits until the data is on disk. Every value except FlushOnEnd means no.
    enum FlushMode : int { FlushOnEnd, NoFlushOnEnd };

    // With FlushOnEnd.
    FileDataSink() = default;
    explicit FileDataSink(FlushMode flushMode);

    // Binds the stage to the path and to the offset of the stream's first byte. Returns the
    // receiver of this stage. REQUIRES: the path exists, and is open, from Start to ReceiveEnd.
    DataReceiver& operator()(FileWritingPath const& newPath, unsigned long long position);

private:
    void Start() override;
    void Receive(ConstData data) override;
    void ReceiveEnd() override;

    FileWritingPath const* path = nullptr;
    unsigned long long startPosition = 0;
    FileWriter writer;
    FlushMode mode = FlushOnEnd;
};
