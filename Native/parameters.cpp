// The engine parameters: values, defaults, ranges and setting one by name.
#include "parameters.h"

#include <cstring>

int32_t CheckExtensions;
int32_t RecaptureExtensions;
int32_t PawnPushExtensions;
int32_t ThreatExtensions;
int32_t SingleMoveExtensions;
int32_t DrawScore;
int32_t FutilityPruning;
int32_t MaterialTrade;
int32_t OffensiveAsymmetry;
int32_t SafetyAsymmetry;
int32_t OffensiveScale;
int32_t SafetyScale;
int32_t BlitzPlayingSpeed;

const Parameter Parameters[ParameterCount] = {
    {"CheckExtensions", &CheckExtensions, 60, 0, 60},
    {"RecaptureExtensions", &RecaptureExtensions, 45, 0, 60},
    {"PawnPushExtensions", &PawnPushExtensions, 45, 0, 60},
    {"ThreatExtensions", &ThreatExtensions, 36, 0, 60},
    {"SingleMoveExtensions", &SingleMoveExtensions, 45, 0, 60},
    {"DrawScore", &DrawScore, 15, -50, 50},
    {"FutilityPruning", &FutilityPruning, 0, 0, 500},
    {"MaterialTrade", &MaterialTrade, 120, 0, 150},
    {"OffensiveAsymmetry", &OffensiveAsymmetry, 0, -50, 50},
    {"SafetyAsymmetry", &SafetyAsymmetry, 0, -50, 50},
    {"OffensiveScale", &OffensiveScale, 100, 0, 200},
    {"SafetyScale", &SafetyScale, 100, 0, 200},
    {"BlitzPlayingSpeed", &BlitzPlayingSpeed, 26, 25, 35},
};

const char *const OptionLines[] = {
    "option name RecaptureExtensions type spin default 45 min 0 max 60",
    "option name PawnPushExtensions type spin default 45 min 0 max 60",
    "option name ThreatExtensions type spin default 36 min 0 max 60",
    "option name SingleMoveExtensions type spin default 45 min 0 max 60",
    "option name DrawScore type spin default 15 min -50 max 50",
    "option name BlitzPlayingSpeed type spin default 26 min 25 max 35",
    nullptr,
};

// Blanks, an optional sign and digits; saturates rather than overflowing.
int32_t ParseDecimal(const char *text) {
  if (!text) return 0;
  const char *p = text;
  while (*p == ' ' || (*p >= '\t' && *p <= '\r')) ++p;
  bool negative = *p == '-';
  if (*p == '-' || *p == '+') ++p;
  int64_t value = 0;
  for (; *p >= '0' && *p <= '9'; ++p) {
    value = value * 10 + (*p - '0');
    if (value > INT32_MAX) value = int64_t(INT32_MAX) + 1;
  }
  if (negative) value = -value;
  return int32_t(value > INT32_MAX ? INT32_MAX : value);
}

// Every parameter back to its default.
void SetParameterDefaults() {
  for (const Parameter &parameter : Parameters) *parameter.value = parameter.defaultValue;
}

// The first parameter of exactly this name takes the clamped value.
void SetParameter(const char *name, const char *value) {
  if (!name) return;
  for (const Parameter &parameter : Parameters) {
    if (std::strcmp(name, parameter.name) != 0) continue;
    int32_t number = ParseDecimal(value);
    if (number < parameter.minimum) number = parameter.minimum;
    if (number > parameter.maximum) number = parameter.maximum;
    *parameter.value = number;
    return;
  }
}
