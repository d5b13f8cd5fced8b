// Findings as text and as JSON.
#pragma once

#include "companions/Doctor.h"

class Output;

// The schema's version. A member, a check or a cause may be added within a version.
constexpr int doctorSchemaVersion = 1;

bool HasProblem(Findings const& findings);

// A line each: "VERDICT CHECK: MESSAGE", and the remedy where there is one.
void WriteText(Findings const& findings, Output& output);

// One object. The schema is schema/compliance-doctor.schema.json.
void WriteJson(Findings const& findings, Output& output);
