// The support utilities in one include: conversions, system information, the
// diagnostic log and the file helpers, all free functions in `Utils`.
#pragma once

#include "utils/Conversions.h"
#include "utils/DiagnosticLog.h"
#include "utils/FileHelpers.h"
#include "utils/SystemInfo.h"
#include "utils/WideString.h"
