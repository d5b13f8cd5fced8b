#include "compliance/ClientCompliance.h"

namespace {

std::string TextOrEmpty(char const* text) {
    if (text == nullptr)
        return {};
    return text;
}

} // namespace

char const* const xDatClientComplianceTypeOpen = "Open";
char const* const xDatClientComplianceTypeClose = "Close";
char const* const xDatClientComplianceTypeProgress = "Progress";

ClientComplianceRequest CreateComplianceRequestOpen(char const* url, char const* doc,
                                                    unsigned int flags) {
    return {ClientComplianceOpen, TextOrEmpty(url), TextOrEmpty(doc), flags};
}

ClientComplianceRequest CreateComplianceRequestClose() {
    return {ClientComplianceClose, {}, {}, 0};
}

ClientComplianceRequest CreateComplianceRequestProgress() {
    return {ClientComplianceProgress, {}, {}, 0};
}

ClientComplianceResponseItem::ClientComplianceResponseItem(
    char const* designatorText, char const* resultText, char const* resultTypeText,
    char const* evaluationTimeText, char const* descriptionText, char const* commentText)
    : designator(TextOrEmpty(designatorText)),
      result(TextOrEmpty(resultText)),
      resultType(TextOrEmpty(resultTypeText)),
      evaluationTime(TextOrEmpty(evaluationTimeText)),
      description(TextOrEmpty(descriptionText)),
      comment(TextOrEmpty(commentText)) {}

void ClientComplianceResponse::Reset() {
    type = ClientComplianceProgress;
    items.clear();
    error = 0;
    percent = 0;
    state = ClientComplianceStateError;
}

unsigned int ClientComplianceResponse::GetComplianceCount() const {
    return static_cast<unsigned int>(items.size());
}

ClientComplianceResponseItem const& ClientComplianceResponse::operator[](unsigned int index) const {
    return items[index];
}

void ClientComplianceResponse::Add(ClientComplianceResponseItem const& item) {
    items.push_back(item);
}

void ClientComplianceResponse::Add(char const* designator, char const* result,
                                   char const* resultType, char const* evaluationTime,
                                   char const* description, char const* comment) {
    items.emplace_back(designator, result, resultType, evaluationTime, description, comment);
}
