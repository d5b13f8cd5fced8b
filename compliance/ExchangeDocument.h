// Writes, publishes and parses the request and the response document.
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

// Writes an XML document to a file, with CR LF line breaks and one tab for each open element.
//
// Calling sequence: the constructor creates or truncates the file, and writes the XML declaration
// and the start tag of the root. Write the elements, then call End, which writes the end tag of the
// root, flushes the file to disk and closes it. Without End, the document on disk is incomplete.
// All members throw the exceptions of FileWritingPath and FileWriter, and std::bad_alloc.
class ExchangeDocument {
public:
    ExchangeDocument(FileLocation const& file, char const* root, char const* versionName,
                     char const* version);

    void BeginElement(char const* name);
    void EndElement();

    // Writes an element: a start tag, `text` with escapes, and an end tag, without line breaks
    // between them. If the text is empty, writes only the two tags.
    void WriteElement(char const* name, ConstData text);

    void End();

private:
    FileWritingPath path;
    FileDataSink sink;
    LineFlattener lines;
    XMLWriterPL writer;
};

// The path where a document is written and the path where it is published. REQUIRES: both locations
// outlive this object.
struct DocumentLocations {
    FileLocation const& temporary;
    FileLocation const& published;
};

// Renames the temporary document to the published path by ForceMoveFileWithRetry, which removes an
// existing file first. Throws FileIOError, but a failed rename(2) is not reported (see MoveFile).
void PublishDocument(DocumentLocations const& locations);

// Publishes the entry at the temporary path, even an incomplete document or an entry that is not a
// file. If that fails, removes the entry by ForceNonexistenceWithRetry, and throws only if the
// removal throws.
void PublishPartialOrRemove(DocumentLocations const& locations);

// Writes a document by `write()` and publishes it. Returns true on success, and false after a
// failure. Throws like PublishPartialOrRemove.
//
// Deliberate: after a failure, calls PublishPartialOrRemove, so the reader can detect that a
// document was to be written.
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

// Parses the file from its start to its end. Does not close it. Throws like FileReadingLoop, and
// std::bad_alloc.
void FeedDocument(FileReadingPath const& path, XMLTreeParserPL& parser);

// Returns the text of a type in both documents, or the empty string for an unknown value.
char const* TypeText(ClientComplianceType type);

// Stores the type with exactly this text and returns true. If there is none, returns false and
// leaves `type` unchanged.
bool ParseType(std::string const& text, ClientComplianceType& type);
