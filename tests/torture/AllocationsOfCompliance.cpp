#include "tests/torture/AllocationsOfFolders.h"

#include <cstdio>
#include <memory>
#include <string>

#include "compliance/AgentPresence.h"
#include "compliance/ClientCompliance.h"
#include "compliance/ClientComplianceLock.h"
#include "compliance/ExchangeDocument.h"
#include "compliance/ExchangeLoop.h"
#include "compliance/FormatToStringPL.h"
#include "compliance/RequestDocument.h"
#include "compliance/ResponseDocument.h"
#include "files/FileLocation.h"
#include "tests/support/ScriptedAgent.h"
#include "tests/system/Documents.h"
#include "tests/system/Tool.h"
#include "tests/torture/AgentWhileSleeping.h"
#include "tests/torture/LongEvaluation.h"
#include "tests/torture/Operations.h"
#include "xml/XMLTreeParserPL.h"

namespace {

using Torture::doc;
using Torture::FinishedAnswer;
using Torture::Operation;
using Torture::Operations;
using Torture::Stated;
using Torture::url;

std::string ShowRequest(ClientComplianceRequest const& request) {
    return std::to_string(request.type) + ' ' + request.url + ' ' + request.doc + ' ' +
           std::to_string(request.flags);
}

std::string ShowItem(ClientComplianceResponseItem const& item) {
    return item.designator + '|' + item.result + '|' + item.resultType + '|' + item.evaluationTime +
           '|' + item.description + '|' + item.comment + '\n';
}

std::string ShowResponse(ClientComplianceResponse const& response) {
    std::string shown = std::to_string(response.type) + ' ' + std::to_string(response.state) + '\n';
    for (auto const& item : response.items)
        shown += ShowItem(item);
    return shown;
}

ClientComplianceResponseItem Item() { return {url, doc, url, doc, url, doc}; }

ClientComplianceResponse Response() {
    ClientComplianceResponse response(ClientComplianceProgress);
    response.Add(Item());
    return response;
}

Operations OfRecords() {
    static ClientComplianceResponseItem const item = Item();
    auto const show = [](StringPL const& string) {
        return string.AsChar();
    };
    return {
        Operation::Giving(
            "CreateComplianceRequestOpen", [] { return CreateComplianceRequestOpen(url, doc, 7); },
            ShowRequest),
        Operation::Giving("ClientComplianceResponseItem", Item, ShowItem),
        Operation::Giving(
            "ClientComplianceResponseItem, copied",
            [] { return ClientComplianceResponseItem(item); }, ShowItem),
        Operation(
            "ClientComplianceResponse::Add(item)", Response,
            [](ClientComplianceResponse& response) { response.Add(item); }, ShowResponse),
        Operation(
            "ClientComplianceResponse::Add(texts)", Response,
            [](ClientComplianceResponse& response) {
                response.Add(url, doc, url, doc, nullptr, "");
            },
            ShowResponse),
        Operation::Giving(
            "FormatToStringPL(int)", [] { return FormatToStringPL(-22); }, show),
        Operation::Giving(
            "FormatToStringPL(unsigned)", [] { return FormatToStringPL(15u); }, show),
    };
}

// The two directories of the agent, with a request and a response in them; then an object to work
// on.
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

Operations OfDocuments() {
    static ClientComplianceRequest const request = CreateComplianceRequestOpen(url, doc, 7);
    static ClientComplianceResponse const response = Response();
    auto const showResult = [](auto const& result) {
        return result.first ? ShowRequest(result.second) : std::string("none");
    };
    return {
        // What was written is published, whole or not.
        Operation("ClientComplianceRequestIOWrite", WithDocuments(Nothing),
                  [](int) { ClientComplianceRequestIOWrite(request); }, ShowDirectories,
                  {.outcomes = {"ClientComplianceRequestIOWriteFailure"}, .tellsOfMemory = false}),
        Operation("ClientComplianceResponseIOWrite", WithDocuments(Nothing),
                  [](int) { ClientComplianceResponseIOWrite(response); }, ShowDirectories,
                  {.outcomes = {"ClientComplianceResponseIOWriteFailure"}, .tellsOfMemory = false}),
        Operation("ClientComplianceRequestIORead", WithDocuments([] {
                      return std::make_pair(false, CreateComplianceRequestClose());
                  }),
                  [](auto& result) { result.first = ClientComplianceRequestIORead(result.second); },
                  showResult, {.outcomes = {""}}),
        Operation(
            "ClientComplianceResponseIORead",
            WithDocuments([] { return ClientComplianceResponse(ClientComplianceOpen); }),
            [](auto& result) { result = ClientComplianceResponseIORead(); }, ShowResponse),
        Operation(
            "ResponseFromTree",
            [] {
                struct Taken {
                    std::unique_ptr<XMLTreeParserPL> tree = std::make_unique<XMLTreeParserPL>();
                    ClientComplianceResponse response{ClientComplianceOpen};
                } taken;
                taken.tree->Parse(FinishedAnswer());
                return taken;
            },
            [](auto& taken) { taken.response = ResponseFromTree(*taken.tree); },
            [](auto const& taken) { return ShowResponse(taken.response); }),
        Operation("ExchangeDocument", WithDocuments(Nothing),
                  [](int) {
                      static FileLocation const file = MakeFileLocation(ScriptedAgent::requestTemp);
                      ExchangeDocument document(file, "aRootWithALongEnoughName", "Version", "1.0");
                      document.BeginElement("anElementWithALongEnoughName");
                      document.WriteElement("anotherElementWithALongEnoughName", ConstData(url));
                      document.EndElement();
                      document.End();
                  },
                  ShowDirectories, {.state = Stated::AnyValue}),
    };
}

// They answer, and tell nothing of memory.
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
            {.outcomes = {""}, .tellsOfMemory = false}),
        Operation::Giving("UnixPlatform::IsRunning", [] { return UnixPlatform::IsRunning(); }, show,
                          {.state = Stated::Abandoned, .outcomes = {""}, .tellsOfMemory = false}),
        Operation(
            "ClientComplianceIO", [] { return std::make_pair(1, Response()); },
            [](auto& result) {
                ClientComplianceRequest request{ClientComplianceClose, "", "", 0};
                result.first = ClientComplianceIO(request, result.second);
            },
            [](auto const& result) {
                return std::to_string(result.first) + ShowResponse(result.second);
            },
            {.state = Stated::AnyValue, .outcomes = {""}, .tellsOfMemory = false}),
    };
}

} // namespace

std::size_t Torture::FailAllocationsOfCompliance() {
    AgentWhileSleeping const agent(ServingAgent());
    return FailEachOf("compliance", Join({OfRecords(), OfDocuments(), OfExchange()}));
}
