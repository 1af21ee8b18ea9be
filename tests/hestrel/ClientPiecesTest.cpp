// Hestrel client pieces that need no server: the stored form of passwords and its key file,
// the checks that keep remote names inside the local root, and shell quoting.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <thread>

#include "Support.h"
#include "client/ClientErrors.h"
#include "client/ClientFactory.h"
#include "client/Launch.h"
#include "client/LocalPaths.h"
#include "client/PasswordCipher.h"
#include "client/ShellQuote.h"
#include "core/Text.h"

using namespace hestrel;
using namespace hestrel_test;
using namespace std::string_literals;

namespace {

std::string ModeAndSize(const std::string& Path) {
  struct stat Info {};
  ::stat(Path.c_str(), &Info);
  return std::to_string(Info.st_mode & 0777) + " " + std::to_string(Info.st_size);
}

std::string Deciphered(TPasswordCipher& Cipher, const std::string& Stored) {
  TSecretText Clear("left over");
  return Cipher.Decrypt(Stored, Clear) ? Clear.Get() : "refused: " + Clear.Get() + "|" + Cipher.GetLastError();
}

}  // namespace

TEST(HestrelPasswordCipher, StoredFormsAreFreshEachTimeAndOnlyUntouchedOnesOfTheSameKeyDecipher) {
  TTempDir Dir, Other;
  TPasswordCipher Cipher(Dir / "sub");
  const std::string A = Cipher.Encrypt("s3cret pass"), B = Cipher.Encrypt("s3cret pass");
  EXPECT_EQ(A.rfind("hes1:", 0) + A.find("s3cret"), std::string::npos);  // prefixed, no clear text
  EXPECT_NE(A, B);                                                       // a fresh nonce each time
  EXPECT_EQ(Deciphered(Cipher, A) + Deciphered(Cipher, B), "s3cret passs3cret pass");
  EXPECT_EQ(Deciphered(Cipher, THestrelClientFactory(Dir / "sub").Encrypt("pw")), "pw");  // the factory's key
  EXPECT_EQ(Cipher.KeyFilePath() + " " + ModeAndSize(Cipher.KeyFilePath()), Dir / "sub/hestrel.key 384 32");  // 0600
  EXPECT_EQ(Cipher.Encrypt(""), "");  // an empty password stays empty
  std::string Tampered = A;
  Tampered[Tampered.size() - 3] = Tampered[Tampered.size() - 3] == 'A' ? 'B' : 'A';
  const std::string Refused = "refused: |" + Format(sErrPasswordTampered, {Cipher.KeyFilePath()});
  const std::pair<std::string, std::string> Cases[] = {
      {Tampered, Refused},
      {TPasswordCipher(Other.Path).Encrypt("password"), Refused},  // made under another key
      {"plain text", "refused: |"s + sErrPasswordFormat},
      {"hes1:!!!", "refused: |"s + sErrPasswordFormat},
      {"hes1:AAAA", "refused: |"s + sErrPasswordFormat},  // shorter than nonce and tag
  };
  for (const auto& [Stored, Expected] : Cases) EXPECT_EQ(Deciphered(Cipher, Stored), Expected) << Stored;
}

TEST(HestrelPasswordCipher, AWideKeyFileIsNarrowedAndADamagedOrUnmakeableOneGivesNoStoredForm) {
  TTempDir Dir;
  TPasswordCipher Cipher(Dir.Path);
  const std::string Stored = Cipher.Encrypt("pw");
  ASSERT_EQ(::chmod(Cipher.KeyFilePath().c_str(), 0644), 0);
  EXPECT_EQ(Deciphered(Cipher, Stored), "pw");
  EXPECT_EQ(ModeAndSize(Cipher.KeyFilePath()), "384 32");  // 0600
  MakeFile(Cipher.KeyFilePath(), "too short", 0, 0600);
  EXPECT_EQ(Cipher.Encrypt("password"), "");
  EXPECT_EQ(Cipher.GetLastError(), Format(sErrKeyFile, {Cipher.KeyFilePath()}));
  EXPECT_EQ(ReadFileText(Cipher.KeyFilePath()), "too short");  // never replaced: stored passwords may need it
  TPasswordCipher Unmakeable(Dir / "hestrel.key");      // a file where its directory should be
  EXPECT_EQ(Unmakeable.Encrypt("password"), "");        // no stored form rather than clear text
  EXPECT_EQ(Unmakeable.GetLastError(), Format(sErrKeyFile, {Dir / "hestrel.key/hestrel.key"}));
}

TEST(HestrelLocalPaths, ATemporaryFileLeavesNothingUnlessCommittedAndItsNameIsRecognised) {
  TTempDir Dir;
  for (const bool Commit : {false, true}) {
    TLocalTempFile Temp(Dir / "x.h");
    ASSERT_TRUE(Temp.IsOpen());
    Temp.Write("abc", 3);
    EXPECT_TRUE(IsTemporaryName(fs::path(Temp.GetTempPath()).filename().string()));
    EXPECT_TRUE(!Commit || Temp.Commit(1500000000));
  }
  std::int64_t Size = 0, Time = 0;
  std::int32_t Nanoseconds = -1;
  ASSERT_TRUE(LocalFileInfo(Dir / "x.h", Size, Time, Nanoseconds));
  EXPECT_EQ(TreeOf(Dir.Path), std::vector<std::string>{"x.h"});
  EXPECT_EQ(std::to_string(Size) + " " + std::to_string(Time) + "." + std::to_string(Nanoseconds), "3 1500000000.0");
  for (const auto& [Name, Temporary] :
       std::vector<std::pair<std::string, bool>>{{"..profile.89abcdef.hestrel-part", true},
                                                 {".a.h.0123ABCD.hestrel-part", false},
                                                 {".a.h.0123abc.hestrel-part", false},
                                                 {"a.h.0123abcd.hestrel-part", false},
                                                 {"..0123abcd.hestrel-part", false},
                                                 {".a.h-0123abcd.hestrel-part", false},
                                                 {".a.h.0123abcd.hestrel-part~", false}})
    EXPECT_EQ(IsTemporaryName(Name), Temporary) << Name;
  EXPECT_EQ(LocalErrorText("/x", EACCES) + LocalErrorText("/x", ENOSPC) + LocalErrorText("/x", ENOENT),
            "Permission denied: '/x'Disk full while writing '/x'Local file '/x' does not exist");
}

TEST(HestrelShellQuote, NothingIsRunAsShellSyntaxButTildeAndVariables) {
  for (const auto& [Text, Expected] : std::vector<std::pair<std::string, std::string>>{
           {"it's", "'it'\\''s'"}, {"$(rm -rf /)", "'$(rm -rf /)'"}, {"", "''"}})
    EXPECT_EQ(ShellQuote(Text), Expected);
  for (const auto& [Text, Expected] :
       std::vector<std::pair<std::string, std::string>>{{"~/sdk", "~/'sdk'"},
                                                        {"~/", "~/"},
                                                        {"~root", "~root"},
                                                        {"$HOME/x y", "\"${HOME}\"'/x y'"},
                                                        {"${SDK}/$(id)", "\"${SDK}\"'/$(id)'"},
                                                        {"a~b", "'a~b'"},
                                                        {"~x;rm", "'~x;rm'"},
                                                        {"", "''"}})
    EXPECT_EQ(ShellExpandableWord(Text), Expected);
  EXPECT_EQ(SplitCommandLine("  -a  'b c' \"d \\\"e\\\"\" f\\ g "),
            (std::vector<std::string>{"-a", "b c", "d \"e\"", "f g"}));
  EXPECT_EQ(SplitCommandLine("''"), std::vector<std::string>{""});
  TRunRequest R;
  R.Program = "/bin/echo";
  R.Parameters = "a '$(touch /tmp/pwned)'";
  R.Environment = {"A=1 2", "bad"};
  const std::string Script = RunScript(R);
  EXPECT_NE(Script.find("nohup env 'A=1 2' \"$p\" 'a' '$(touch /tmp/pwned)' </dev/null >/dev/null 2>&1 &"),
            std::string::npos)
      << Script;
  EXPECT_EQ(Script.find("bad"), std::string::npos);
}
