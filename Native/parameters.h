// The thirteen engine parameters a host sets by name: their values, table of
// names, defaults and ranges, and the option lines announced to the host.
#pragma once

#include <cstdint>

extern int32_t CheckExtensions;
extern int32_t RecaptureExtensions;
extern int32_t PawnPushExtensions;
extern int32_t ThreatExtensions;
extern int32_t SingleMoveExtensions;
extern int32_t DrawScore;
extern int32_t FutilityPruning;
extern int32_t MaterialTrade;
extern int32_t OffensiveAsymmetry;
extern int32_t SafetyAsymmetry;
extern int32_t OffensiveScale;
extern int32_t SafetyScale;
extern int32_t BlitzPlayingSpeed;

struct Parameter {
  const char *name;
  int32_t *value;
  int32_t defaultValue;
  int32_t minimum;
  int32_t maximum;
};

// In the order names are matched.
constexpr int ParameterCount = 13;
extern const Parameter Parameters[ParameterCount];

// The option lines announced to the host, then a null pointer.
extern const char *const OptionLines[];

// Decimal text as the C library's atoi reads it (blanks, sign, digits), but
// saturating at the int32 range instead of overflowing; null gives 0.
int32_t ParseDecimal(const char *text);
// Sets the thirteen defaults.
void SetParameterDefaults();
// Sets one parameter by exact name from decimal text, clamped to its range.
void SetParameter(const char *name, const char *value);
