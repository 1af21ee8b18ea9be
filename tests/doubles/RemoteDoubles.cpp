#include "doubles/RemoteDoubles.h"

std::string NoticeText(TOTAProgressType ProgressType, std::int32_t Index, std::int32_t Count, const std::string& Text,
                       const std::string& Detail1, const std::string& Detail2, std::int32_t Position) {
  return std::to_string(static_cast<int>(ProgressType)) + "|" + std::to_string(Index) + "|" + std::to_string(Count) +
         "|" + Text + "|" + Detail1 + "|" + Detail2 + "|" + std::to_string(Position);
}

TOTAProgressProc TProgressRecorder::Proc() {
  return [this](TOTAProgressType ProgressType, std::int32_t Index, std::int32_t Count, const std::string& Text,
                const std::string& Detail1, const std::string& Detail2, std::int32_t Position) {
    const std::string Notice = NoticeText(ProgressType, Index, Count, Text, Detail1, Detail2, Position);
    Notices.push_back(Notice);
    return Answer ? Answer(Notice, Notices.size() - 1) : true;
  };
}

bool TProgressDisplayDouble::UpdateProgress(TOTAProgressType ProgressType, std::int32_t Index, std::int32_t Count,
                                            const std::string& Text, const std::string& Detail1,
                                            const std::string& Detail2, std::int32_t Position, bool CloseWhenDone) {
  const std::string Notice = NoticeText(ProgressType, Index, Count, Text, Detail1, Detail2, Position) +
                             "|close=" + (CloseWhenDone ? "1" : "0");
  Notices.push_back(Notice);
  return Answer ? Answer(Notice, Notices.size() - 1) : true;
}
