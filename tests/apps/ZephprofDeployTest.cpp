// End-to-end tests of the project commands with the real build engine: the example project
// deployed to a hestrel on loopback, two deploys serialised by the build lock, a failing
// build, the build-environment file read by the engine from a terminal, and a rename
// rewriting the projects of the open group.
#include <unistd.h>

#include "ProcessRunner.h"
#include "hosts/linux/LinuxBuild.h"

namespace {

class ZephprofDeploy : public TZephprofTest {
 protected:
  void SetUp() override {
    Port = StartHestrel(Remote, "deploy-pw");
    ASSERT_NE(Port, "0") << ReadFileText(Dir / "log");
    Run({TStep({"add", "Box", "--platform", "Linux64", "--host", "127.0.0.1", "--port", Port, "--password-stdin"}, 0,
               "…", "", "deploy-pw\n")});
  }
  /// A project whose Deploy target logs its start and end around a pause, and fails for the
  /// configuration "Broken"; ShowProfile prints the Profile a build gets.
  fs::path WriteProject(const std::string& Name, const std::string& Extension = "") const {
    std::ofstream(Dir / Name)
        << "<Project xmlns='http://schemas.microsoft.com/developer/msbuild/2003'>\n"
           "  <Import Project='$(ZephEnvFile)' Condition=\"Exists('$(ZephEnvFile)')\"/>\n"
           "  <Target Name='Deploy'>\n"
           "    <Exec Command='echo start $(Profile) >> deploys.log; sleep 1; echo end >> deploys.log'/>\n"
           "    <Error Condition=\"'$(Config)'=='Broken'\" Text='broken on purpose'/>\n"
           "  </Target>\n"
           "  <Target Name='ShowProfile'><Message Importance='high' Text='Profile=$(Profile).'/></Target>\n"
           "  <ProjectExtensions><Zephprof><Platforms>\n"
           "    <Platform Name='Linux64'" +
               Extension +
               "/>  <!-- kept -->\n"
               "    <Platform\n      Name='Linux32' />\n"
               "  </Platforms></Zephprof></ProjectExtensions>\n</Project>\n";
    return Dir / Name;
  }
  /// Runs the zephprof calls at the same time; answers their standard error, in order.
  std::vector<std::string> AtOnce(const std::vector<std::vector<std::string>>& Calls) const {
    std::string Line = "(";
    for (std::size_t I = 0; I < Calls.size(); ++I)
      Line += Command(ZEPH_ZEPHPROF_BINARY, Calls[I]) + " >/dev/null 2>" +
              (Dir / ("err" + std::to_string(I))).string() + " & ";
    EXPECT_EQ(std::system((Line + "wait)").c_str()), 0);
    std::vector<std::string> Errors;
    for (std::size_t I = 0; I < Calls.size(); ++I) Errors.push_back(ReadFileText(Dir / ("err" + std::to_string(I))));
    return Errors;
  }
  const fs::path Remote = Dir / "root";
  std::string Port;
};

TEST_F(ZephprofDeploy, TheExampleIsCompiledOnAgreementDeployedAndRunOnTheRemoteMachine) {
  const fs::path Example = Dir / "hello";
  fs::copy(fs::path(__FILE__).parent_path().parent_path().parent_path() / "examples" / "hello", Example);
  const std::string Project = Example / "hello.proj";
  const std::string Required =
      "zephprof: A connection profile is required for this operation but has not been assigned.\n";
  Run({TStep({"ensure", Project}, 1, "", Required),
       TStep({"ensure", Project, "Linux64", "--for-compile"}, 1, "", Required),
       TStep({"deploy", Project}, 1, "", Required),
       TStep({"assign", Project, "Linux32", "Box"}, 1, "", "…not of 'Linux32'\n"),
       TStep({"assign", Project, "Linux64", "box"}, 0, "Linux64: profile 'Box'\n", ""),
       TStep({"ensure", Project}, 0, "Linux64: profile 'Box'\n", ""),
       TStep({"--no", "deploy", Project}, 1, "",
             "…Unable to deploy the project because it did not successfully compile.\n…"),
       TStep({"--yes", "deploy", Project}, 0, "…Executing: cc…Started …Deployed '" + Project + "' with profile 'Box'\n",
             "…"),
       TStep({"--no", "deploy", Project, "--config", "Debug"}, 0, "…Deployed …")});  // up to date: no question
  const fs::path Output = Remote / "hello.out";
  for (int I = 0; I < 100 && ReadFileText(Output).empty(); ++I) usleep(50000);
  EXPECT_PRED2(Matches, ReadFileText(Output), "Hello from …, deployed by zephprof.\n");
}

TEST_F(ZephprofDeploy, TwoDeploysAtOnceTakeTurnsAndAFailedBuildIsAnnouncedAsAFailure) {
  const std::string Project = WriteProject("app.proj", " Profile='Box'");
  const auto Errors = AtOnce({{"deploy", Project}, {"deploy", Project, "--config", "Broken"}});
  EXPECT_EQ(ReadFileText(Dir / "deploys.log"), "start Box\nend\nstart Box\nend\n");
  EXPECT_PRED2(Matches, Errors[0] + Errors[1],
               "…Waiting for another deploy to finish: the build lock '" + (Data / "build.lock").string() +
                   "' is held by process …");
  EXPECT_PRED2(Matches, Errors[1], "…zephprof: Deploying '" + Project + "' with profile 'Box' failed\n");
}

TEST_F(ZephprofDeploy, ARenameFollowsIntoTheGroupsProjectsAndTheEnvFileThatATerminalBuildReads) {
  const std::string App = WriteProject("app.proj", " Profile=\"box\""), Lib = WriteProject("lib.proj"),
                    Group = Dir / "all.groupproj", EnvFile = Data / "environment.proj";
  std::ofstream(Group) << "<Project><ItemGroup><Projects Include='app.proj'/><Projects Include='lib.proj'/>"
                          "</ItemGroup></Project>";
  const std::string AppText = ReadFileText(App), LibText = ReadFileText(Lib);
  // Each file as it was, but for the profile of Linux64 (everything else byte for byte).
  const auto AppWith = [&](const std::string& Profile) {
    return AppText.substr(0, AppText.find("box")) + Profile + AppText.substr(AppText.find("box") + 3);
  };
  const auto LibWith = [&](const std::string& Profile) {
    const std::size_t At = LibText.find("'Linux64'") + 9;
    return LibText.substr(0, At) + " Profile=\"" + Profile + "\"" + LibText.substr(At);
  };
  Run({TStep({"env-file"}, 0, EnvFile + "\n", ""), TStep({"assign", Lib, "Linux64", "Box"}, 0, "…", ""),
       TStep({"--group", Group, "rename", "Box", "Server"}, 0, "…", "")});
  EXPECT_EQ(ReadFileText(App) + ReadFileText(Lib), AppWith("Server") + LibWith("Server"));
  std::array<char, 4096> Buffer{};
  std::string Engine;  // the engine a deploy would take, run from a terminal
  for (const std::string& Word : TLinuxBuildEngine::FindEngine()) Engine += Word + " ";
  ASSERT_FALSE(Engine.empty());
  FILE* Build = popen(("cd " + Dir.string() + " && ZephEnvFile=" + EnvFile + " " + Engine +
                       "/nologo /t:ShowProfile /p:Platform=Linux64 app.proj")
                          .c_str(),
                      "r");
  const std::string Shown(Buffer.data(), fread(Buffer.data(), 1, Buffer.size() - 1, Build));
  EXPECT_EQ(pclose(Build), 0);
  EXPECT_PRED2(Matches, Shown, "…Profile=Server.…");  // the platform's default, renamed with it
  Run({TStep({"--group", Group, "--yes", "remove", "Server"}, 0, "…", "…")});
  EXPECT_EQ(ReadFileText(App) + ReadFileText(Lib), AppWith("") + LibWith(""));
}

}  // namespace
