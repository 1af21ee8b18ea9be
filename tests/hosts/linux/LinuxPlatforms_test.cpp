#include "hosts/linux/LinuxPlatforms.h"

#include <gtest/gtest.h>

TEST(LinuxPlatforms, AllPlatformsInTheHostsOrder) {
  EXPECT_EQ(TLinuxPlatformServices().GetAllPlatforms(),
            (std::vector<std::string>{"Win32", "Win64", "OSX32", "OSX64", "OSXARM64", "iOSDevice", "iOSSimulator",
                                      "Android", "Android64", "Linux32", "Linux64"}));
}

TEST(LinuxPlatforms, DisplayNames) {
  TLinuxPlatformServices Services;
  const std::vector<std::pair<std::string, std::string>> Expected = {
      {"Win32", "32-bit Windows"},  {"Win64", "64-bit Windows"},        {"OSX32", "macOS 32-bit"},
      {"OSX64", "macOS 64-bit"},    {"OSXARM64", "macOS ARM 64-bit"},   {"iOSDevice", "iOS Device"},
      {"iOSSimulator", "iOS Simulator"}, {"Android", "Android 32-bit"}, {"Android64", "Android 64-bit"},
      {"Linux32", "Linux 32-bit"},  {"Linux64", "Linux 64-bit"}};
  for (const auto& [Name, Display] : Expected) {
    IOTAPlatformPtr Platform = Services.GetPlatform(Name);
    ASSERT_TRUE(Platform) << Name;
    EXPECT_EQ(Platform->GetName(), Name);
    EXPECT_EQ(Platform->GetDisplayName(), Display);
  }
}

TEST(LinuxPlatforms, UnknownOrOtherCaseIdentifierHasNoPlatform) {
  TLinuxPlatformServices Services;
  EXPECT_EQ(Services.GetPlatform("win32"), nullptr);
  EXPECT_EQ(Services.GetPlatform(""), nullptr);
  EXPECT_EQ(Services.GetPlatform("WinARM"), nullptr);
}

TEST(LinuxPlatforms, ProfileRequirements) {
  TLinuxPlatformServices Services;
  auto Needs = [&](const std::string& Name) {
    IOTAPlatformPtr P = Services.GetPlatform(Name);
    return std::make_pair(P->ProfileRequiredToCompile("Application"), P->ProfileRequiredToRun("Application"));
  };
  EXPECT_EQ(Needs("Win32"), std::make_pair(false, false));
  EXPECT_EQ(Needs("Win64"), std::make_pair(false, false));
  for (const char* Name : {"OSX32", "OSX64", "OSXARM64", "iOSDevice", "iOSSimulator", "Linux32", "Linux64"})
    EXPECT_EQ(Needs(Name), std::make_pair(true, true)) << Name;
  EXPECT_EQ(Needs("Android"), std::make_pair(false, true));
  EXPECT_EQ(Needs("Android64"), std::make_pair(false, true));
}
