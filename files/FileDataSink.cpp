#include "files/FileDataSink.h"

#include "files/FileWritingPath.h"

FileDataSink::FileDataSink(FlushMode flushMode) : mode(flushMode) {}

DataReceiver& FileDataSink::operator()(FileWritingPath const& newPath,
                                       unsigned long long position) {
    path = &newPath;
    startPosition = position;
    return *this;
}

void FileDataSink::Start() { writer.Start(*path, startPosition); }

void FileDataSink::Receive(ConstData data) { writer << data; }

void FileDataSink::ReceiveEnd() {
    if (mode == FlushOnEnd)
        path->Flush();
}
