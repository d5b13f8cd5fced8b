#include "xml/XMLTreeParserPL.h"

XMLTreeParserPL::XMLTreeParserPL() = default;

XMLTreeParserPL::~XMLTreeParserPL() = default;

void XMLTreeParserPL::Reset() { elementStack.clear(); }

void XMLTreeParserPL::StartElement(std::string const& name,
                                   std::vector<XMLAttribute const*> const& attributes) {
    XMLElementPL* const element = elementStack.empty()
                                      ? BeginRoot(name, attributes)
                                      : elementStack.back()->AddChildElement(name, attributes);
    elementStack.push_back(element);
}

XMLElementPL* XMLTreeParserPL::BeginRoot(std::string const& name,
                                         std::vector<XMLAttribute const*> const& attributes) {
    if (rootElement == nullptr)
        rootElement = std::make_unique<XMLElementPL>(name, attributes);
    else
        rootElement->Reset(name, attributes);
    return rootElement.get();
}

void XMLTreeParserPL::EndElement(std::string const&) {
    if (!elementStack.empty())
        elementStack.pop_back();
}

void XMLTreeParserPL::Characters(std::string const& text) {
    if (!elementStack.empty())
        elementStack.back()->text += text;
}
