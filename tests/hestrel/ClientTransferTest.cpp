// Hestrel client against a real OpenSSH sshd: pulling remote trees into the local root
// (mask, subdirectories, overwrite questions, identical files, cancel, links out of the
// tree, frameworks) over SFTP and over the tar stream, and pushing and removing files.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "ClientTestSupport.h"
#include "client/ClientErrors.h"
#include "client/HestrelClient.h"
#include "client/LocalPaths.h"
#include "core/Text.h"

using namespace hestrel;
using namespace hestrel_test;

namespace {

std::int64_t MTime(const std::string& Path) {
  struct stat St;
  return lstat(Path.c_str(), &St) == 0 ? St.st_mtim.tv_sec : -1;
}

std::string LinkOf(const std::string& Path) {
  char Buffer[4096];
  const ssize_t N = readlink(Path.c_str(), Buffer, sizeof Buffer);
  return N < 0 ? "" : std::string(Buffer, static_cast<size_t>(N));
}

}  // namespace

/// Parameter: true = the exec fast paths (find listing, tar streams from 2 files on),
/// false = SFTP only.
class HestrelClientTransfer : public ::testing::TestWithParam<bool> {
 protected:
  static void SetUpTestSuite() {
    Sshd = new TTestSshd;
    ASSERT_TRUE(Sshd->Start()) << Sshd->Log();
  }
  static void TearDownTestSuite() {
    delete Sshd;
    Sshd = nullptr;
  }
  void SetUp() override {
    THestrelClientOptions Options = Sshd->Options();
    Options.UseTarStream = GetParam();
    Options.UseFindListing = GetParam();
    Options.TarMinimumFiles = 2;
    Client = std::make_shared<THestrelClient>("test", AppData.Path().string(), Options);
    Client->SetHostName("127.0.0.1");
    Client->SetPort(Sshd->Port());
    Client->SetCredential({"", true, false});
    Client->SetSysRoot(SysRoot.Path().string());
    ASSERT_TRUE(Client->Connect(nullptr)) << Client->GetLastError();
  }
  std::string R(const std::string& Name) const { return Remote / Name; }
  std::string L(const std::string& Name) const { return SysRoot.Path().string() + R(Name); }

  static TTestSshd* Sshd;
  TTempDir AppData, Remote, SysRoot;
  std::shared_ptr<THestrelClient> Client;
  TRecordingListener Listener;
  TRecordingIteration Iteration;
};
TTestSshd* HestrelClientTransfer::Sshd = nullptr;

TEST_P(HestrelClientTransfer, GetFilesCopiesMatchingFilesUnderTheSystemRootKeepingTimes) {
  MakeFile(R("inc/a.h"), "alpha", 1500000001);
  MakeFile(R("inc/z.h"), "zulu", 1500000003);
  MakeFile(R("inc/b.c"), "bravo");
  MakeFile(R("inc/sub/c.h"), "charlie");
  ASSERT_TRUE(Client->GetFiles(R("inc"), false, "*.h", &Iteration, &Listener)) << Client->GetLastError();
  EXPECT_EQ(TreeOf(L("inc")), (std::vector<std::string>{"a.h", "z.h"}));
  EXPECT_EQ(Slurp(L("inc/a.h")), "alpha");
  EXPECT_EQ(MTime(L("inc/a.h")), 1500000001);
  EXPECT_EQ(MTime(L("inc/z.h")), 1500000003);
  EXPECT_EQ(Listener.Accepted.size(), 2u);
  EXPECT_EQ(Listener.PreCopied.size(), 2u);
  EXPECT_GE(Listener.BytesCopiedCalls, 2);
  EXPECT_TRUE(Listener.Overwrites.empty());
  EXPECT_TRUE(Iteration.Entered.empty());
}

TEST_P(HestrelClientTransfer, ByteProgressNamesRemoteSourceAndDestination) {
  MakeFile(R("one/x.h"), std::string(100000, 'x'));
  ASSERT_TRUE(Client->GetFiles(R("one"), false, "", nullptr, &Listener)) << Client->GetLastError();
  EXPECT_EQ(Listener.LastS1, R("one/x.h"));
  EXPECT_EQ(Listener.LastS2, R("one/x.h"));
  EXPECT_EQ(Listener.LastS3, L("one/x.h"));
  EXPECT_EQ(Listener.LastDone, 100000);
  EXPECT_EQ(Listener.LastTotal, 100000);
}

TEST_P(HestrelClientTransfer, SubdirectoriesAreEnteredThroughTheIteration) {
  MakeFile(R("inc/a.h"), "a");
  MakeFile(R("inc/sub/c.h"), "c");
  MakeFile(R("inc/sub/deeper/d.h"), "d");
  MakeFile(R("inc/sub/deeper/d.txt"), "d");
  ASSERT_TRUE(Client->GetFiles(R("inc"), true, "*.h", &Iteration, &Listener)) << Client->GetLastError();
  EXPECT_EQ(TreeOf(L("inc")), (std::vector<std::string>{"a.h", "sub", "sub/c.h", "sub/deeper", "sub/deeper/d.h"}));
  EXPECT_EQ(Iteration.Entered, (std::vector<std::string>{R("inc/sub"), R("inc/sub/deeper")}));
}

TEST_P(HestrelClientTransfer, IterationRefusingADirectoryStopsTheWalk) {
  MakeFile(R("inc/a.h"), "a");
  MakeFile(R("inc/sub/c.h"), "c");
  Iteration.Answer = false;
  ASSERT_TRUE(Client->GetFiles(R("inc"), true, "", &Iteration, &Listener)) << Client->GetLastError();
  EXPECT_EQ(TreeOf(L("inc")), std::vector<std::string>{"a.h"});
}

TEST_P(HestrelClientTransfer, IdenticalFilesAreSkippedWithoutQuestionOrTransfer) {
  MakeFile(R("inc/a.h"), "alpha");
  MakeFile(R("inc/b.h"), "bravo");
  ASSERT_TRUE(Client->GetFiles(R("inc"), true, "", nullptr, &Listener));
  TRecordingListener Second;
  ASSERT_TRUE(Client->GetFiles(R("inc"), true, "", nullptr, &Second)) << Client->GetLastError();
  EXPECT_EQ(Second.BytesCopiedCalls, 0);
  EXPECT_TRUE(Second.Overwrites.empty());
  EXPECT_TRUE(Second.Accepted.empty());
  EXPECT_TRUE(Second.PreCopied.empty());
}

TEST_P(HestrelClientTransfer, ExistingDifferentFileIsReplacedOnlyWhenOverwriteSaysYes) {
  MakeFile(R("inc/a.h"), "remote text", 1500000000);
  MakeFile(L("inc/a.h"), "local", 1400000000);
  Listener.OverwriteAnswer = false;
  ASSERT_TRUE(Client->GetFiles(R("inc"), false, "", nullptr, &Listener)) << Client->GetLastError();
  EXPECT_EQ(Slurp(L("inc/a.h")), "local");
  ASSERT_EQ(Listener.Overwrites.size(), 1u);
  const auto& Asked = Listener.Overwrites[0];
  EXPECT_EQ(Asked.File, L("inc/a.h"));
  EXPECT_EQ(Asked.Size1, 5);
  EXPECT_EQ(Asked.Time1, FromUnixSeconds(1400000000));
  EXPECT_EQ(Asked.Size2, 11);
  EXPECT_EQ(Asked.Time2, FromUnixSeconds(1500000000));
  EXPECT_EQ(Listener.BytesCopiedCalls, 0);

  Listener.OverwriteAnswer = true;
  ASSERT_TRUE(Client->GetFiles(R("inc"), false, "", nullptr, &Listener)) << Client->GetLastError();
  EXPECT_EQ(Slurp(L("inc/a.h")), "remote text");
  EXPECT_EQ(MTime(L("inc/a.h")), 1500000000);
}

TEST_P(HestrelClientTransfer, AcceptAnsweringThreeStopsBeforeAnyCopy) {
  MakeFile(R("inc/a.h"), "a");
  MakeFile(R("inc/b.h"), "b");
  Listener.AcceptAnswer = 3;
  EXPECT_FALSE(Client->GetFiles(R("inc"), false, "", nullptr, &Listener));
  EXPECT_EQ(Client->GetLastError(), sErrCancelled);
  EXPECT_EQ(Listener.Accepted.size(), 1u);
  EXPECT_FALSE(std::filesystem::exists(L("inc")) && !TreeOf(L("inc")).empty());
}

TEST_P(HestrelClientTransfer, ManyFilesArriveWholeWithTheirTimes) {
  for (int I = 0; I < 60; ++I)
    MakeFile(R("many/d" + std::to_string(I % 3) + "/f" + std::to_string(I) + ".h"),
             std::string(static_cast<size_t>(I * 97), static_cast<char>('a' + I % 26)), 1500000000 + I);
  MakeFile(R("many/big.bin"), std::string(3 << 20, 'B'), 1500000999);
  ASSERT_TRUE(Client->GetFiles(R("many"), true, "", nullptr, &Listener)) << Client->GetLastError();
  for (int I = 0; I < 60; ++I) {
    const std::string Name = "many/d" + std::to_string(I % 3) + "/f" + std::to_string(I) + ".h";
    ASSERT_EQ(Slurp(L(Name)), Slurp(R(Name))) << Name;
    ASSERT_EQ(MTime(L(Name)), 1500000000 + I) << Name;
  }
  EXPECT_EQ(Slurp(L("many/big.bin")), Slurp(R("many/big.bin")));
  EXPECT_EQ(Listener.PreCopied.size(), 61u);
  EXPECT_EQ(TreeOf(L("many")).size(), 64u);  // 61 files, 3 directories: no temporary left
  const auto Statistics = Client->GetLastPullStatistics();
  EXPECT_EQ(Statistics.FilesByTar, GetParam() ? 61 : 0);
  EXPECT_EQ(Statistics.FilesBySftp, GetParam() ? 0 : 61);

  // A refresh where every file changed: listed, asked about, then fetched in tar batches.
  for (int I = 0; I < 60; ++I)
    MakeFile(R("many/d" + std::to_string(I % 3) + "/f" + std::to_string(I) + ".h"), "changed " + std::to_string(I));
  TRecordingListener Refresh;
  ASSERT_TRUE(Client->GetFiles(R("many"), true, "", nullptr, &Refresh)) << Client->GetLastError();
  EXPECT_EQ(Refresh.Overwrites.size(), 60u);
  EXPECT_EQ(Slurp(L("many/d2/f59.h")), "changed 59");
  EXPECT_EQ(Client->GetLastPullStatistics().FilesByTar, GetParam() ? 60 : 0);
  EXPECT_EQ(Client->GetLastPullStatistics().ListedByFind, GetParam());
  EXPECT_EQ(TreeOf(L("many")).size(), 64u);
}

TEST_P(HestrelClientTransfer, CancelInByteProgressLeavesNoPartialFile) {
  MakeFile(R("big/one.bin"), std::string(4 << 20, '1'));
  MakeFile(R("big/two.bin"), std::string(4 << 20, '2'));
  Listener.OnBytes = [](std::int64_t, std::int64_t) -> std::uint8_t { return 2; };
  EXPECT_FALSE(Client->GetFiles(R("big"), false, "", nullptr, &Listener));
  EXPECT_EQ(Client->GetLastError(), sErrCancelled);
  EXPECT_EQ(Listener.BytesCopiedCalls, 1);  // stopped at once
  EXPECT_TRUE(TreeOf(L("big")).empty());
  // The connection is still usable after the stream was dropped.
  std::string Home;
  EXPECT_TRUE(Client->ExpandPath("~", Home)) << Client->GetLastError();
}

TEST_P(HestrelClientTransfer, LinkPointingOutOfTheTreeIsRefusedAndReported) {
  MakeFile(R("inc/a.h"), "a");
  std::filesystem::create_symlink("/etc/passwd", R("inc/evil"));
  std::filesystem::create_symlink("../../..", R("inc/up"));
  std::filesystem::create_symlink("a.h", R("inc/good.h"));
  EXPECT_FALSE(Client->GetFiles(R("inc"), true, "", nullptr, &Listener));
  std::vector<std::string> Errors = Listener.Errors;
  std::sort(Errors.begin(), Errors.end());
  EXPECT_EQ(Errors, (std::vector<std::string>{R("inc/evil"), R("inc/up")}));
  EXPECT_FALSE(std::filesystem::exists(L("inc/evil")) || std::filesystem::is_symlink(L("inc/evil")));
  EXPECT_FALSE(std::filesystem::is_symlink(L("inc/up")));
  EXPECT_EQ(LinkOf(L("inc/good.h")), "a.h");
  EXPECT_EQ(Slurp(L("inc/good.h")), "a");
  EXPECT_TRUE(Client->GetLastError() == Format(sErrUnsafeLink, {R("inc/evil"), "/etc/passwd"}) ||
              Client->GetLastError() == Format(sErrUnsafeLink, {R("inc/up"), "../../.."}))
      << Client->GetLastError();
}

TEST_P(HestrelClientTransfer, LocalLinkOutOfTheRootIsNotWrittenThrough) {
  TTempDir Outside;
  MakeFile(R("inc/sub/a.h"), "a");
  std::filesystem::create_directories(L("inc"));
  std::filesystem::create_directory_symlink(Outside.Path(), L("inc/sub"));
  EXPECT_FALSE(Client->GetFiles(R("inc"), true, "", nullptr, &Listener));
  EXPECT_TRUE(TreeOf(Outside.Path().string()).empty());
  EXPECT_EQ(Listener.Errors, std::vector<std::string>{R("inc/sub/a.h")});
}

TEST_P(HestrelClientTransfer, MissingRemotePathIsReported) {
  EXPECT_FALSE(Client->GetFiles(R("nothing"), true, "", nullptr, &Listener));
  EXPECT_EQ(Client->GetLastError(), Format(sErrRemoteFileMissing, {R("nothing")}));
}

TEST_P(HestrelClientTransfer, RemotePathClimbingOutOfTheRootIsRefused) {
  EXPECT_FALSE(Client->GetFiles(R("inc/../../etc"), true, "", nullptr, &Listener));
  EXPECT_EQ(Client->GetLastError(), Format(sErrUnsafeName, {R("inc/../../etc")}));
}

TEST_P(HestrelClientTransfer, NoSystemRootIsAnError) {
  Client->SetSysRoot("");
  EXPECT_FALSE(Client->GetFiles(R("inc"), true, "", nullptr, &Listener));
  EXPECT_EQ(Client->GetLastError(), sErrNoSysRoot);
}

namespace {

void MakeFramework(const std::string& Dir) {
  MakeFile(Dir + "/Versions/A/Headers/F.h", "header");
  MakeFile(Dir + "/Versions/A/Headers/Sub/G.h", "header2");
  MakeFile(Dir + "/Versions/A/F", "binary");
  MakeFile(Dir + "/Versions/A/Resources/Info.plist", "plist");
  std::filesystem::create_directory_symlink("A", Dir + "/Versions/Current");
  std::filesystem::create_directory_symlink("Versions/Current/Headers", Dir + "/Headers");
  std::filesystem::create_directory_symlink("Versions/Current/Resources", Dir + "/Resources");
  std::filesystem::create_symlink("Versions/Current/F", Dir + "/F");
}

}  // namespace

TEST_P(HestrelClientTransfer, FrameworkPullFetchesHeadersAndBinaryOnly) {
  MakeFramework(R("Frameworks/F.framework"));
  ASSERT_TRUE(Client->GetFrameworkFiles(R("Frameworks"), "F", false, nullptr, &Listener)) << Client->GetLastError();
  EXPECT_EQ(TreeOf(L("Frameworks/F.framework")),
            (std::vector<std::string>{"F", "Headers", "Versions", "Versions/A", "Versions/A/F", "Versions/A/Headers",
                                      "Versions/A/Headers/F.h", "Versions/A/Headers/Sub", "Versions/A/Headers/Sub/G.h",
                                      "Versions/Current"}));
  EXPECT_EQ(Slurp(L("Frameworks/F.framework/Headers/F.h")), "header");
  EXPECT_EQ(Slurp(L("Frameworks/F.framework/F")), "binary");
  EXPECT_EQ(Slurp(L("Frameworks/F.framework/Versions/Current/F")), "binary");
}

TEST_P(HestrelClientTransfer, FrameworkPullWithNonEssentialFetchesEverything) {
  MakeFramework(R("Frameworks/F.framework"));
  ASSERT_TRUE(Client->GetFrameworkFiles(R("Frameworks"), "F", true, nullptr, &Listener)) << Client->GetLastError();
  EXPECT_EQ(Slurp(L("Frameworks/F.framework/Resources/Info.plist")), "plist");
  EXPECT_EQ(TreeOf(L("Frameworks/F.framework")).size(), 13u);
}

TEST_P(HestrelClientTransfer, MissingFrameworkIsReported) {
  EXPECT_FALSE(Client->GetFrameworkFiles(R("Frameworks"), "None", false, nullptr, &Listener));
  EXPECT_EQ(Client->GetLastError(), Format(sErrRemoteFileMissing, {R("Frameworks/None.framework")}));
}

INSTANTIATE_TEST_SUITE_P(TarAndSftp, HestrelClientTransfer, ::testing::Values(true, false),
                         [](const auto& Info) { return Info.param ? std::string("Tar") : std::string("Sftp"); });

TEST_P(HestrelClientTransfer, LongAndOddNamesArriveIntact) {
  const std::string Long = std::string(120, 'd') + "/" + std::string(150, 'e') + "/" + std::string(200, 'f') + ".h";
  const std::vector<std::string> Names = {Long, "-starts-with-dash.h", "it's \"quoted\" $(x) `y`.h", "sp ace/\\back.h",
                                          "new\nline.h"};
  for (const auto& Name : Names) MakeFile(R("odd/" + Name), "content of " + Name);
  ASSERT_TRUE(Client->GetFiles(R("odd"), true, "", nullptr, &Listener)) << Client->GetLastError();
  for (const auto& Name : Names) EXPECT_EQ(Slurp(L("odd/" + Name)), "content of " + Name) << Name;
  EXPECT_EQ(Client->GetLastPullStatistics().FilesByTar, GetParam() ? 5 : 0);
}

TEST_P(HestrelClientTransfer, RemotePathNamingAFilePullsThatFile) {
  MakeFile(R("lib/libz.a"), "archive", 1500000000);
  ASSERT_TRUE(Client->GetFiles(R("lib/libz.a"), false, "*.h", nullptr, &Listener)) << Client->GetLastError();
  EXPECT_EQ(Slurp(L("lib/libz.a")), "archive");
  EXPECT_EQ(MTime(L("lib/libz.a")), 1500000000);
  EXPECT_EQ(Listener.Accepted, std::vector<std::string>{R("lib/libz.a")});
  TRecordingListener Again;
  ASSERT_TRUE(Client->GetFiles(R("lib/libz.a"), false, "", nullptr, &Again));
  EXPECT_TRUE(Again.Accepted.empty());
  EXPECT_EQ(Again.BytesCopiedCalls, 0);
}

namespace {

/// Answers yes to the first Yes questions, then no; records every question.
class TLimitedIteration : public IFileIteration {
 public:
  explicit TLimitedIteration(std::size_t Yes) : FYes(Yes) {}
  std::vector<std::string> Entered;
  bool EnterDirectory(const std::string& Dir) override {
    Entered.push_back(Dir);
    return Entered.size() <= FYes;
  }

 private:
  std::size_t FYes;
};

std::vector<std::string> Sorted(std::vector<std::string> Names) {
  std::sort(Names.begin(), Names.end());
  return Names;
}

bool HasDuplicates(const std::vector<std::string>& Names) {
  const auto S = Sorted(Names);
  return std::adjacent_find(S.begin(), S.end()) != S.end();
}

}  // namespace

TEST_P(HestrelClientTransfer, ARefusedDirectoryEndsTheWalkAsTheListingDoesAskingEachQuestionOnce) {
  for (const char* Name : {"inc/a.h", "inc/b.h", "inc/d1/x.h", "inc/d1/e/y.h", "inc/d2/z.h", "inc/d3/w.h", "inc/z.h"})
    MakeFile(R(Name), Name);
  TLimitedIteration Iteration(2);  // 4 directories below the root: the third question is refused
  ASSERT_TRUE(Client->GetFiles(R("inc"), true, "", &Iteration, &Listener)) << Client->GetLastError();
  EXPECT_EQ(Iteration.Entered.size(), 3u) << ::testing::PrintToString(Iteration.Entered);
  EXPECT_FALSE(HasDuplicates(Iteration.Entered));
  EXPECT_FALSE(HasDuplicates(Listener.Accepted));

  // The same pull over SFTP only, with the same answers, gives the same questions and files.
  THestrelClientOptions Options = Sshd->Options();
  Options.UseTarStream = Options.UseFindListing = false;
  THestrelClient Reference("reference", AppData.Path().string(), Options);
  Reference.SetHostName("127.0.0.1");
  Reference.SetPort(Sshd->Port());
  Reference.SetCredential({"", true, false});
  TTempDir ReferenceRoot;
  Reference.SetSysRoot(ReferenceRoot.Path().string());
  ASSERT_TRUE(Reference.Connect(nullptr)) << Reference.GetLastError();
  TLimitedIteration ReferenceIteration(2);
  TRecordingListener ReferenceListener;
  ASSERT_TRUE(Reference.GetFiles(R("inc"), true, "", &ReferenceIteration, &ReferenceListener));
  EXPECT_EQ(Iteration.Entered, ReferenceIteration.Entered);
  EXPECT_EQ(Sorted(Listener.Accepted), Sorted(ReferenceListener.Accepted));
  EXPECT_EQ(TreeOf(L("inc")), TreeOf(ReferenceRoot.Path().string() + R("inc")));
}

TEST_P(HestrelClientTransfer, StaleTemporaryFilesAreRemovedFromTheDirectoriesAPullWritesInto) {
  MakeFile(R("inc/a.h"), "a");
  MakeFile(R("inc/b.h"), "b");
  const std::int64_t Now = time(nullptr), TwoHoursAgo = Now - 7200;
  const std::vector<std::string> Kept = {
      ".b.h.89abcdef.hestrel-part",  // recent: maybe another pull's file being written
      ".a.h.0123ABCD.hestrel-part",  // not the exact pattern
      "a.h.0123abcd.hestrel-part",   ".a.h.0123abc.hestrel-part", "notes.txt"};
  for (const auto& Name : Kept) MakeFile(L("inc/" + Name), "keep", Name[1] == 'b' ? Now : TwoHoursAgo);
  MakeFile(L("inc/.a.h.0123abcd.hestrel-part"), "left by a killed pull", TwoHoursAgo);
  MakeFile(L("inc/.c.h.fedcba98.hestrel-part/inner"), "a directory of that name", TwoHoursAgo);
  MakeFile(L("other/.x.h.00000000.hestrel-part"), "nothing is written here", TwoHoursAgo);
  ASSERT_TRUE(Client->GetFiles(R("inc"), false, "*.h", nullptr, &Listener)) << Client->GetLastError();
  std::vector<std::string> Expected = Kept;
  Expected.insert(Expected.end(), {"a.h", "b.h", ".c.h.fedcba98.hestrel-part", ".c.h.fedcba98.hestrel-part/inner"});
  std::sort(Expected.begin(), Expected.end());
  EXPECT_EQ(TreeOf(L("inc")), Expected);
  EXPECT_TRUE(std::filesystem::exists(L("other/.x.h.00000000.hestrel-part")));
}
