// compliance-doctor: looks at all that an evaluation needs, and changes nothing.
#pragma once

#include "companions/DoctorFinding.h"

// One finding a check, in an order of their own that does not change.
Findings ExamineExchange();
