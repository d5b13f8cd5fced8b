// Element and attribute names (xTag) and fixed texts (xDat) of the request and the response
// document.
//
// ClientCompliance.h declares the texts of the three types.
#pragma once

extern char const* const xTagClientComplianceRequestDocRoot;
extern char const* const xTagClientComplianceRequestDocVersion;
extern char const* const xDatClientComplianceRequestDocVersion;
extern char const* const xTagClientComplianceRequestType;
extern char const* const xTagClientComplianceRequestURL;
extern char const* const xTagClientComplianceRequestDOC;
extern char const* const xTagClientComplianceRequestFlags;

extern char const* const xTagClientComplianceResponseDocRoot;
extern char const* const xTagClientComplianceResponseDocVersion;
extern char const* const xDatClientComplianceResponseDocVersion;
extern char const* const xTagClientComplianceResponseType;
extern char const* const xTagClientComplianceResponseProgressState;
extern char const* const xTagClientComplianceResponseProgressError;
extern char const* const xTagClientComplianceResponseProgressPercent;
extern char const* const xTagClientComplianceResponseItem;

// The children of a response item, in the order of a row's fields.
extern char const* const xTagResponseDesignator;
extern char const* const xTagResponseResult;
extern char const* const xTagResponseResultType;
extern char const* const xTagResponseEvaluationTime;
extern char const* const xTagResponseDescription;
extern char const* const xTagResponseComment;
