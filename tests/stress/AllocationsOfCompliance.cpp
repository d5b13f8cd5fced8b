#include <cstdio>

#include "compliance/AgentPresence.h"
#include "compliance/ClientCompliance.h"
#include "compliance/ClientComplianceLock.h"
#include "compliance/ExchangeDocument.h"
#include "compliance/ExchangeLoop.h"
#include "compliance/FormatToStringPL.h"
#include "compliance/RequestDocument.h"
#include "compliance/ResponseDocument.h"
#include "files/FileLocation.h"
#include "tests/stress/AgentWhileSleeping.h"
#include "tests/stress/LongEvaluation.h"
#include "tests/stress/Operations.h"
#include "tests/support/ScriptedAgent.h"
#include "tests/system/Documents.h"
#include "tests/system/Tool.h"
#include "xml/XMLTreeParserPL.h"

namespace {

using namespace Stress;

struct RecordText : AsText {
    using AsText::operator();
    std::string operator()(StringPL const& string) const { return string.AsChar(); }
    std::string operator()(ClientComplianceRequest const& request) const {
        return std::to_string(request.type) + ' ' + request.url + ' ' + request.doc + ' ' +
               std::to_string(request.flags);
    }
    std::string operator()(ClientComplianceResponseItem const& item) const {
        return item.designator + '|' + item.result + '|' + item.resultType + '|' +
               item.evaluationTime + '|' + item.description + '|' + item.comment + '\n';
    }
    std::string operator()(ClientComplianceResponse const& response) const {
        return std::to_string(response.type) + ' ' + std::to_string(response.state) + '\n' +
               JoinTexts(response.items, *this);
    }
};

ClientComplianceResponseItem Item() { return {url, doc, url, doc, url, doc}; }

ClientComplianceResponse Response() {
    ClientComplianceResponse response(ClientComplianceProgress);
    response.Add(Item());
    return response;
}

Operations OfRecords() {
    static ClientComplianceResponseItem const item = Item();
    auto const giving = Operation::Giver(RecordText());
    auto const changing = Operation::Changer(Response, RecordText());
    return {
        giving(CC_TRY(CreateComplianceRequestOpen(url, doc, 7))),
        giving(CC_TRY(Item())),
        giving(CC_TRY(ClientComplianceResponseItem(item))),
        changing(CC_TRY_ON(it.Add(item))),
        changing(CC_TRY_ON(it.Add(url, doc, url, doc, nullptr, ""))),
        giving(CC_TRY(FormatToStringPL(-22))),
        giving(CC_TRY(FormatToStringPL(15u))),
    };
}

// Creates a request and a response, and then the object.
template <class Object>
auto WithDocuments(Object make) {
    return [make] {
        WriteBytes(ScriptedAgent::request, OpenRequest(url, doc, "7"));
        WriteBytes(ScriptedAgent::response, FinishedAnswer());
        std::remove(ScriptedAgent::requestTemp);
        return make();
    };
}

int Nothing() { return 0; }

std::string ShowDirectories(int) {
    return ListDirectory(ScriptedAgent::requestDirectory) +
           ListDirectory("/var/opt/VeskaClient/ResponseDir");
}

void WriteDocument() {
    static FileLocation const file = MakeFileLocation(ScriptedAgent::requestTemp);
    ExchangeDocument document(file, "aRootWithALongEnoughName", "Version", "1.0");
    document.BeginElement("anElementWithALongEnoughName");
    document.WriteElement("anotherElementWithALongEnoughName", ConstData(url));
    document.EndElement();
    document.End();
}

Operations OfDocuments() {
    static ClientComplianceRequest const request = CreateComplianceRequestOpen(url, doc, 7);
    static ClientComplianceResponse const response = Response();
    auto const showResult = [](auto const& result) {
        return result.first ? RecordText()(result.second) : std::string("none");
    };
    return {
        // The part that was written is published.
        Operation("ClientComplianceRequestIOWrite", WithDocuments(Nothing),
                  [](int) { ClientComplianceRequestIOWrite(request); }, ShowDirectories,
                  {.outcomes = {"ClientComplianceRequestIOWriteFailure"}, .throwsBadAlloc = false}),
        Operation(
            "ClientComplianceResponseIOWrite", WithDocuments(Nothing),
            [](int) { ClientComplianceResponseIOWrite(response); }, ShowDirectories,
            {.outcomes = {"ClientComplianceResponseIOWriteFailure"}, .throwsBadAlloc = false}),
        Operation("ClientComplianceRequestIORead", WithDocuments([] {
                      return std::make_pair(false, CreateComplianceRequestClose());
                  }),
                  [](auto& result) { result.first = ClientComplianceRequestIORead(result.second); },
                  showResult, {.outcomes = {""}}),
        Operation(
            "ClientComplianceResponseIORead",
            WithDocuments([] { return ClientComplianceResponse(ClientComplianceOpen); }),
            [](auto& result) { result = ClientComplianceResponseIORead(); }, RecordText()),
        Operation(
            "ResponseFromTree",
            [] {
                auto tree = std::make_unique<XMLTreeParserPL>();
                tree->Parse(FinishedAnswer());
                return std::make_pair(std::move(tree),
                                      ClientComplianceResponse(ClientComplianceOpen));
            },
            [](auto& taken) { taken.second = ResponseFromTree(*taken.first); },
            [](auto const& taken) { return RecordText()(taken.second); }),
        Operation("ExchangeDocument", WithDocuments(Nothing), [](int) { WriteDocument(); },
                  ShowDirectories, {.state = Stated::AnyValue}),
    };
}

// They return a result and do not throw std::bad_alloc.
Operations OfExchange() {
    static ClientComplianceRequest const open = CreateComplianceRequestOpen(url, doc, 7);
    auto const show = [](bool result) {
        return std::to_string(result);
    };
    return {
        Operation(
            "ClientComplianceLock::Lock", [] { return false; },
            [](bool& locked) { locked = ClientComplianceLock::The().Lock(); },
            [](bool locked) {
                ClientComplianceLock::The().Unlock();
                return std::to_string(locked);
            },
            {.outcomes = {""}, .throwsBadAlloc = false}),
        Operation::Giving(CC_TRY(UnixPlatform::IsRunning()), show,
                          {.state = Stated::Abandoned, .outcomes = {""}, .throwsBadAlloc = false}),
        Operation(
            "ClientComplianceIO", [] { return std::make_pair(1, Response()); },
            [](auto& result) {
                ClientComplianceRequest request{ClientComplianceClose, "", "", 0};
                result.first = ClientComplianceIO(request, result.second);
            },
            [](auto const& result) {
                return std::to_string(result.first) + RecordText()(result.second);
            },
            {.state = Stated::AnyValue, .outcomes = {""}, .throwsBadAlloc = false}),
    };
}

TEST(QuickAllocations, FailuresInComplianceHaveDocumentedOutcomes) {
    TestInSandbox([] {
        AgentWhileSleeping const agent(ServingAgent());
        return FailEachOf("compliance", Join({OfRecords(), OfDocuments(), OfExchange()}));
    });
}

} // namespace
