#include "compliance/DocumentTags.h"

char const* const xTagClientComplianceRequestDocRoot = "VeskaClientComplianceRequest";
char const* const xTagClientComplianceRequestDocVersion = "Version";
char const* const xDatClientComplianceRequestDocVersion = "1.0";
char const* const xTagClientComplianceRequestType = "RequestType";
char const* const xTagClientComplianceRequestURL = "RequestURL";
char const* const xTagClientComplianceRequestDOC = "RequestDOC";
char const* const xTagClientComplianceRequestFlags = "RequestFlags";

char const* const xTagClientComplianceResponseDocRoot = "VeskaClientComplianceResponse";
char const* const xTagClientComplianceResponseDocVersion = "Version";
char const* const xDatClientComplianceResponseDocVersion = "1.0";
char const* const xTagClientComplianceResponseType = "ResponseType";
char const* const xTagClientComplianceResponseProgressState = "ResponseProgressState";
char const* const xTagClientComplianceResponseProgressError = "ResponseProgressError";
char const* const xTagClientComplianceResponseProgressPercent = "ResponseProgressPercent";
char const* const xTagClientComplianceResponseItem = "ResponseItem";

char const* const xTagResponseDesignator = "Designator";
char const* const xTagResponseResult = "Result";
char const* const xTagResponseResultType = "ResultType";
char const* const xTagResponseEvaluationTime = "EvaluationTime";
char const* const xTagResponseDescription = "Description";
char const* const xTagResponseComment = "Comment";
