#include "compliance/ExchangeDocument.h"

#include "data/Buffer.h"
#include "files/FileLocation.h"
#include "files/FileReadingLoop.h"
#include "files/FileReadingPath.h"
#include "files/FileRetry.h"
#include "strings/SmallContainers.h"
#include "strings/StringPL.h"
#include "xml/XMLTreeParserPL.h"

namespace {

constexpr std::size_t chunkSize = 65568;

} // namespace

ExchangeDocument::ExchangeDocument(FileLocation const& file, char const* root,
                                   char const* versionName, char const* version)
    : path(file, FileWritingPath::OpenNewFileOrAsNewFile()),
      writer(lines(LineFlattener::crlf, sink(path, 0)), XMLWriterPL::XMLFormatTabbed) {
    writer.checkNames = false;
    ListPL<Pair<StringPL, StringPL>> attributes;
    attributes.Append({StringPL(versionName), StringPL(version)});
    writer.BeginDocument(StringPL(root), attributes, NullOr<StringPL>());
}

void ExchangeDocument::BeginElement(char const* name) {
    writer.BeginElement(name, XMLWriterPL::emptyAttributeList);
}

void ExchangeDocument::EndElement() { writer.EndElement(); }

void ExchangeDocument::WriteElement(char const* name, ConstData text) {
    BeginElement(name);
    writer.WriteString(text);
    EndElement();
}

void ExchangeDocument::End() {
    writer.EndDocument();
    path.Close();
}

char const* TypeText(ClientComplianceType type) {
    switch (type) {
    case ClientComplianceOpen:
        return xDatClientComplianceTypeOpen;
    case ClientComplianceClose:
        return xDatClientComplianceTypeClose;
    case ClientComplianceProgress:
        return xDatClientComplianceTypeProgress;
    }
    return "";
}

bool ParseType(std::string const& text, ClientComplianceType& type) {
    for (ClientComplianceType known :
         {ClientComplianceOpen, ClientComplianceClose, ClientComplianceProgress}) {
        if (text == TypeText(known)) {
            type = known;
            return true;
        }
    }
    return false;
}

void PublishDocument(DocumentLocations const& locations) {
    ForceMoveFileWithRetry(locations.temporary, locations.published, FileRetryLog());
}

void PublishPartialOrRemove(DocumentLocations const& locations) {
    try {
        PublishDocument(locations);
        return;
    } catch (...) {
    }
    ForceNonexistenceWithRetry(locations.temporary, FileRetryLog());
}

void FeedDocument(FileReadingPath const& path, XMLTreeParserPL& parser) {
    unsigned char chunk[chunkSize];
    for (FileReadingLoop loop(Data(chunk), path, 0); loop.Remaining() != 0; ++loop)
        parser.Parse(loop.Chunk().View().data(), static_cast<unsigned int>(loop.Chunk().Length()));
}
