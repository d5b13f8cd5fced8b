// A file as the last stage of a pipeline.
#pragma once

#include "data/ConstData.h"
#include "data/DataReceiver.h"
#include "files/FileWriter.h"

class FileWritingPath;

// Writes the stream into an open file, chunk by chunk as it comes; each Start begins again at the
// bound position. The path stays open at the end, and a file that was longer keeps its tail.
//
// Error handling: as for FileWriter; the flush as FileWritingPath::Flush.
class FileDataSink : private DataReceiver {
public:
    // Whether ReceiveEnd waits until the data is on the disk. Every value but the first means no.
    enum FlushMode : int { FlushOnEnd, NoFlushOnEnd };

    FileDataSink() = default;
    explicit FileDataSink(FlushMode flushMode);

    // The only way to the stage: binds it to the path, which must be open from Start to ReceiveEnd
    // and outlive them, and to the offset of the stream's first byte.
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
