// The option table against the library it offers: every parameter the
// library takes is offered once, with the library's own default and range,
// whether the library announces it or the session's table adds it.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "../host/library.h"
#include "interface.h"
#include "options.h"
#include "session.h"

namespace {

TEST(OptionTable, OffersEveryLibraryParameterAsTheLibraryTakesIt) {
  std::string error;
  ASSERT_TRUE(LoadVarnLibrary(error, VARN_LIBRARY_PATH)) << error;
  ASSERT_TRUE(StartSession(error)) << error;
  const std::vector<std::string> offered = UciOptionLines();
  for (const Parameter &p : Parameters) {
    const std::string line = "option name " + std::string(p.name) + " type spin default " +
                             std::to_string(p.defaultValue) + " min " + std::to_string(p.minimum) + " max " +
                             std::to_string(p.maximum);
    EXPECT_EQ(std::count(offered.begin(), offered.end(), line), 1) << line;
    // The time plan's own playing speed is the library's default.
    if (std::string(p.name) == "BlitzPlayingSpeed") {
      EXPECT_EQ(PlanSettings().blitzSpeed, p.defaultValue);
    }
  }
  EndSession();
}

}  // namespace
