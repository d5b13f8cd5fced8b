#include "companions/ReportFormats.h"

#include <algorithm>

#include "companions/Utf8.h"
#include "companions/VisibleText.h"

namespace {

constexpr std::string_view specialInMarkup = "&<>\"'";

void Replace(std::string& text, std::string_view from, std::string_view to) {
    for (std::size_t place = text.find(from); place != std::string::npos;
         place = text.find(from, place + to.size()))
        text.replace(place, from.size(), to);
}

std::string MakeVisibleXml(std::string const& text) {
    std::string visible = MakeVisible(text);
    Replace(visible, "\xEF\xBF\xBE", "\\ufffe");
    Replace(visible, "\xEF\xBF\xBF", "\\uffff");
    return visible;
}

// Replaces special characters by "&#NN;", which is never markup.
std::string EscapeCharacters(std::string const& text, std::string_view special) {
    std::string escaped;
    escaped.reserve(text.size());
    for (char const c : text)
        if (special.find(c) == std::string_view::npos)
            escaped += c;
        else
            escaped += "&#" + std::to_string(static_cast<int>(c)) + ";";
    return escaped;
}

} // namespace

std::unique_ptr<ReportWriter> MakeReportWriter(ReportFormat format, Report const& report,
                                               Output& output) {
    switch (format) {
    case ReportFormat::junit:
        return MakeJunitWriter(report, output);
    case ReportFormat::csv:
        return MakeCsvWriter(report, output);
    case ReportFormat::json:
        return MakeSummaryWriter(report, output);
    default:
        return MakePageWriter(format, report, output);
    }
}

bool IsPlain(std::string_view text, std::string_view special) {
    return std::ranges::all_of(text, [special](char c) {
        return c >= ' ' && c <= '~' && special.find(c) == std::string_view::npos;
    });
}

std::string EscapeMarkup(std::string const& text) {
    if (IsPlain(text, specialInMarkup))
        return text;
    return EscapeCharacters(MakeVisibleXml(text), specialInMarkup);
}

std::string EscapeMarkdown(std::string const& text) {
    std::string escaped = EscapeCharacters(MakeVisibleXml(text), "&<>\"'`*_[]{}|\\~#@!^$");
    // Some Markdown processors make links of these.
    Replace(escaped, "www.", "www&#46;");
    Replace(escaped, "://", "&#58;//");
    return escaped;
}

std::string Shorten(std::string const& text) {
    if (text.size() <= maxShownBytes)
        return text;
    std::size_t length = maxShownBytes;
    // Does not split a UTF-8 sequence.
    while (length > maxShownBytes - 4 && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80)
        --length;
    return text.substr(0, length) + "... (" + std::to_string(text.size() - length) + " more bytes)";
}

std::string DocumentOf(ReportEntry const& entry) {
    StoredProvenance const& known = *entry.result.provenance;
    std::string const document = known.document.value_or("(the default)");
    return entry.hasOtherSites ? document + " (" + known.url.value_or("") + ")" : document;
}

std::string NameOfEntry(ReportEntry const& entry) {
    bool const hasDocument = entry.hasResult && entry.result.provenance->document;
    return hasDocument ? entry.host + " (" + DocumentOf(entry) + ")" : entry.host;
}
