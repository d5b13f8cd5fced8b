// Writing, publishing and parsing of the request and the response document.
#pragma once

#include <string>

#include "compliance/ClientCompliance.h"
#include "data/ConstData.h"
#include "data/LineFlattener.h"
#include "files/FileDataSink.h"
#include "files/FileWritingPath.h"
#include "xml/XMLWriterPL.h"

class FileLocation;
class FileReadingPath;
class XMLTreeParserPL;

// Writes an XML document to a file: CR LF lines, one tab for each open element.
//
// Calling sequence: the constructor creates or truncates the file and begins the root; the elements
// follow; End closes the root, flushes the file to disk and closes it. A document without End stays
// unfinished on disk. All members throw the errors of the file layer.
class ExchangeDocument {
public:
    ExchangeDocument(FileLocation const& file, char const* root, char const* versionName,
                     char const* version);

    void BeginElement(char const* name);
    void EndElement();

    // Writes an element with text only, on one line. An empty text leaves the two tags.
    void WriteElement(char const* name, ConstData text);

    void End();

private:
    FileWritingPath path;
    FileDataSink sink;
    LineFlattener lines;
    XMLWriterPL writer;
};

// Where a document is written, and where it is published. Refers to both locations, which must
// outlive it.
struct DocumentLocations {
    FileLocation const& temporary;
    FileLocation const& published;
};

// Renames the temporary document to the published name, with retries; replaces an existing file.
// Throws FileIOError.
void PublishDocument(DocumentLocations const& locations);

// Publishes the temporary document as it is, finished or not; removes it if that fails. Throws only
// the error of the removal.
void PublishPartialOrRemove(DocumentLocations const& locations);

// Writes a document by `write()` and publishes it. Returns false after any failure.
//
// Deliberate: after a failure the unfinished document is published, or removed if that fails too.
// The other side thereby learns that there was a document.
template <typename Write>
bool WriteAndPublishDocument(DocumentLocations const& locations, Write write) {
    try {
        write();
        PublishDocument(locations);
        return true;
    } catch (...) {
    }
    PublishPartialOrRemove(locations);
    return false;
}

// Parses the file to its end. It stays open.
void FeedDocument(FileReadingPath const& path, XMLTreeParserPL& parser);

// Returns the text of a type in both documents, or an empty string for an unknown value.
char const* TypeText(ClientComplianceType type);

// Stores the type with exactly that text. Returns false, and leaves `type` as it was, without one.
bool ParseType(std::string const& text, ClientComplianceType& type);
