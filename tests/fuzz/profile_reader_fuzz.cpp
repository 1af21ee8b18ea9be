// libFuzzer target for the profile-file reader (THestrelClientProfile,
// docs/profile-file-format.md). Besides "never crashes" it checks the reader's promises:
// a refused text leaves the previous values untouched and names the file; an accepted
// text writes back to a text that reads as the same values, and writing is a fixed point;
// and any bytes survive quoting.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "client/ClientProfile.h"
#include "common/QuotedText.h"

namespace {

/// Any bytes, quoted, read back as the same bytes, and the quoted form is UTF-8 text.
void CheckQuoting(std::string_view Text) {
  const std::string Quoted = hestrel::QuoteText(Text);
  std::size_t Pos = 0, Bad = 0;
  std::string Back, Error;
  if (!hestrel::UnquoteText(Quoted, Pos, Back, Error) || Pos != Quoted.size() || Back != Text) std::abort();
  if (!hestrel::IsValidUtf8(Quoted, Bad)) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* Data, std::size_t Size) {
  const std::string_view Text(reinterpret_cast<const char*>(Data), Size);
  CheckQuoting(Text);
  THestrelClientProfile Profile;
  Profile.SetProfileName("before");
  Profile.SetPort(7);
  Profile.SetIncludePath({{"/keep", "*", true}}, TIncludePathKind::Library);
  const hestrel::TProfileFileData Before = Profile.GetData();

  if (!Profile.ReadProfileText(Text, "fuzz.profile")) {
    if (!(Profile.GetData() == Before)) std::abort();  // half a profile was taken
    if (Profile.GetLastError().rfind("Cannot read profile file 'fuzz.profile': ", 0) != 0) std::abort();
    return 0;
  }
  const std::string Written = hestrel::WriteProfileText(Profile.GetData());
  THestrelClientProfile Again;
  if (!Again.ReadProfileText(Written, "again.profile")) std::abort();  // the writer's text is refused
  if (!(Again.GetData() == Profile.GetData())) std::abort();           // values changed on the way
  if (hestrel::WriteProfileText(Again.GetData()) != Written) std::abort();
  return 0;
}
