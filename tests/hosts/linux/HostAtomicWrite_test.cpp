#include "hosts/linux/HostAtomicWrite.h"

#include "HostTestSupport.h"
#include "hosts/linux/IniFile.h"

using namespace LinuxHost;

using HostAtomicWrite = THostFilesTest;

TEST_F(HostAtomicWrite, ANewFileGetsTheCreateModeAnExistingOneKeepsWhatTheMaskAllows) {
  const struct {
    bool SettingsStore;  // written by the settings store, which holds enciphered passwords
    bool ThroughLink;    // written through a symbolic link, which stays
    mode_t Existing, CreateMode, KeepMask, Expected;
  } Cases[] = {
      {false, false, 0, 0640, 07777, 0640},   {false, false, 0640, 0600, 07777, 0640},
      {false, false, 0664, 0600, 0600, 0600}, {true, false, 0, 0, 0, 0600},
      {true, false, 0755, 0, 0, 0600},        {true, false, 0400, 0, 0, 0400},
      {true, true, 0644, 0, 0, 0600},
  };
  for (const auto& C : Cases) {
    std::filesystem::remove(At("a.txt"));
    std::filesystem::remove(At("link.txt"));
    if (C.Existing) {
      WriteFileText(At("a.txt"), "[S]\nold=1\n");
      ::chmod(At("a.txt").c_str(), C.Existing);
    }
    if (C.ThroughLink) std::filesystem::create_symlink("a.txt", At("link.txt"));
    const std::string File = At(C.ThroughLink ? "link.txt" : "a.txt");
    if (C.SettingsStore) {
      TIniFile Ini(File);
      Ini.WriteString("S", "k", "new");
      ASSERT_TRUE(Ini.UpdateFile().Ok());
    } else {
      ASSERT_TRUE(AtomicWriteFile(File, "[S]\nk=new\n", C.CreateMode, C.KeepMask).Ok());
    }
    EXPECT_NE(ReadFileText(At("a.txt")).find("[S]\nk=new\n"), std::string::npos);
    EXPECT_EQ(ModeOf(At("a.txt")), C.Expected) << std::oct << C.Existing << " " << C.CreateMode << " " << C.KeepMask;
    EXPECT_EQ(std::filesystem::is_symlink(File), C.ThroughLink);
  }
}

TEST_F(HostAtomicWrite, AFailedWriteNamesTheFileAndKeepsTheOldOneWithoutATemporaryFile) {
  const std::string File = At("settings.ini");
  WriteFileText(File, "[S]\nk=old\n");
  const TIniFilePtr Ini = TIniFile::Load(File).File;
  Ini->WriteString("S", "k", "new");
  std::string Temporary;
  hestrel::SetAtomicWriteHookForTesting([&](const std::string& Temp, const std::string&) {
    Temporary = Temp;
    EXPECT_EQ(ReadFileText(Temp), Ini->GetText());  // written in full before the failure
    return std::string("No space left on device");
  });
  const std::string Error = Ini->UpdateFile().Error;
  hestrel::SetAtomicWriteHookForTesting(nullptr);
  EXPECT_EQ(Error, "Cannot save '" + File + "': No space left on device");
  EXPECT_EQ(ReadFileText(File), "[S]\nk=old\n");
  EXPECT_FALSE(Temporary.empty() || std::filesystem::exists(Temporary));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(Dir), {}), 1);
  ASSERT_TRUE(Ini->UpdateFile().Ok());  // memory kept the change for a retry
  EXPECT_EQ(TIniFile::Load(File).File->ReadString("S", "k", ""), "new");
  const std::string Missing = At("no/such/dir/a.txt");
  EXPECT_EQ(AtomicWriteFile(Missing, "x").Error, "Cannot save '" + Missing + "': cannot create a temporary file in '" +
                                                     At("no/such/dir") + "': No such file or directory");
}
