// Writes the findings of compliance-doctor as text and as JSON.
#pragma once

#include "companions/Doctor.h"

class Output;

// The version of schema/compliance-doctor.schema.json. New members, checks and causes do not change
// it.
constexpr int doctorSchemaVersion = 1;

bool HasProblem(Findings const& findings);

// Writes a line "VERDICT CHECK: MESSAGE" for each finding, followed by the remedy if there is one.
void WriteText(Findings const& findings, Output& output);

// Writes one JSON object.
void WriteJson(Findings const& findings, Output& output);
