// The records of the exchange as tuples, which GoogleTest compares and prints.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include "compliance/ClientCompliance.h"
#include "tests/system/Documents.h"

// The type, the URL, the document and the flags.
using RequestFields = std::tuple<ClientComplianceType, std::string, std::string, std::uint32_t>;

inline RequestFields FieldsOf(ClientComplianceRequest const& request) {
    return {request.type, request.url, request.doc, request.flags};
}

inline RowTexts TextsOf(ClientComplianceResponseItem const& row) {
    return {row.designator,     row.result,      row.resultType,
            row.evaluationTime, row.description, row.comment};
}

inline ClientComplianceResponseItem MakeRow(RowTexts const& texts) {
    return {texts[0].c_str(), texts[1].c_str(), texts[2].c_str(),
            texts[3].c_str(), texts[4].c_str(), texts[5].c_str()};
}

// The type, the state, the error, the percentage and the rows.
using ResponseFields = std::tuple<ClientComplianceType, int, int, int, std::vector<RowTexts>>;

inline ResponseFields FieldsOf(ClientComplianceResponse const& response) {
    std::vector<RowTexts> rows;
    for (unsigned int row = 0; row < response.GetComplianceCount(); ++row)
        rows.push_back(TextsOf(response[row]));
    return {response.type, response.state, response.error, response.percent, rows};
}

// Returns the fields of a response without progress elements and rows.
inline ResponseFields EmptyResponse(ClientComplianceType type) { return {type, 2, 0, 0, {}}; }

inline ClientComplianceResponse MakeResponse(ResponseFields const& fields) {
    ClientComplianceResponse response(std::get<0>(fields));
    std::tie(response.state, response.error, response.percent) =
        std::tuple(std::get<1>(fields), std::get<2>(fields), std::get<3>(fields));
    for (RowTexts const& texts : std::get<4>(fields))
        response.Add(MakeRow(texts));
    return response;
}
