// Parsing XML into a tree, and freeing it: XMLTreeParserPL, compared with the push parser of
// libxml2, and with pugixml and tinyxml2, which parse the whole document at once.
#include <malloc.h>

#include <string>

#include "bench/Bench.h"
#include "bench/ResponseDocuments.h"
#include "bench/TreeReaders.h"

namespace {

template <class Tree>
bool Build(std::string const& document) {
    return Tree(document).IsComplete();
}

template <class Tree>
std::string Describe(std::string const& document) {
    TreeText text;
    Tree(document).Describe(text);
    return text.Text();
}

std::size_t HeapInUse() {
    struct mallinfo2 const info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

// Returns the heap memory of the tree and its parser, divided by the size of the document.
template <class Tree>
double MemoryPerByte(std::string const& document) {
    std::size_t const before = HeapInUse();
    Tree const tree(document);
    return static_cast<double>(HeapInUse() - before) / static_cast<double>(document.size());
}

template <class Tree>
void AddContender(Operation<std::string>& operation, std::string const& who) {
    operation.Add(who, Build<Tree>, Describe<Tree>, "memory_per_byte", MemoryPerByte<Tree>);
}

void AddOperation(std::string const& name, std::function<std::string const&()> document) {
    Operation<std::string> operation("XmlTree/" + name, document, SizeOf);
    AddContender<OurTree>(operation, "ours");
#ifdef HAVE_LIBXML2
    AddContender<Libxml2Tree>(operation, "libxml2");
#endif
#ifdef HAVE_PUGIXML
    AddContender<PugixmlTree>(operation, "pugixml");
#endif
#ifdef HAVE_TINYXML2
    AddContender<Tinyxml2Tree>(operation, "tinyxml2");
#endif
}

} // namespace

void RegisterOperations() {
    ForEachResponseDocument(AddOperation);
    AddOperation("long-texts", Inputs::LongTextDocument);
}
