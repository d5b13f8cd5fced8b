// What the two documents have in common: the chain that writes one, the steps that publish one, the
// feeding of one into a tree, and the texts of their types.
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

// A document that is being written: XML over CR LF lines into a file, one tab per open element.
//
// Calling sequence: the constructor opens the file, created or emptied, and begins the root; the
// elements follow; End closes the root, flushes the file to disk and closes it. A document without
// End stays unfinished on disk. What the file layer throws passes through.
class ExchangeDocument {
public:
    ExchangeDocument(FileLocation const& file, char const* root, char const* versionName,
                     char const* version);

    void BeginElement(char const* name);
    void EndElement();

    // An element with nothing but text, in one line. An empty text gives the two tags.
    void WriteElement(char const* name, ConstData text);

    void End();

private:
    FileWritingPath path;
    FileDataSink sink;
    LineFlattener lines;
    XMLWriterPL writer;
};

// Where a document is written, and where it is published.
struct DocumentLocations {
    FileLocation const& temporary;
    FileLocation const& published;
};

// Moves the temporary document to the published name with all attempts, over what stands there.
void PublishDocument(DocumentLocations const& locations);

// Publishes after a failure what stands in the temporary document, finished or not; if that fails,
// removes it, and lets a failure of the removal pass.
void PublishWhatIsThere(DocumentLocations const& locations);

// Writes a document by `write()` and publishes it, whole and on disk, so that the other side never
// sees half of it. False after any failure. Deliberate: even then what has been written is
// published, if that can be done, by which the other side at least learns that there was something.
template <typename Write>
bool WriteAndPublishDocument(DocumentLocations const& locations, Write write) {
    try {
        write();
        PublishDocument(locations);
        return true;
    } catch (...) {
    }
    PublishWhatIsThere(locations);
    return false;
}

// Feeds the whole file to the parser. It stays open.
void FeedDocument(FileReadingPath const& path, XMLTreeParserPL& parser);

// The text of a type in both documents; empty for a value outside the known ones.
char const* TypeText(ClientComplianceType type);

// Takes the type with that very text. False, with `type` as it was, where there is none.
bool TakeType(std::string const& text, ClientComplianceType& type);
