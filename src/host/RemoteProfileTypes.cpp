#include "host/RemoteProfileTypes.h"

#include <algorithm>

TOTARemoteProfilePathArray::TOTARemoteProfilePathArray(std::initializer_list<TOTARemoteProfilePathItem> Items)
    : TOTARemoteProfilePathArray(std::vector<TOTARemoteProfilePathItem>(Items)) {}

TOTARemoteProfilePathArray::TOTARemoteProfilePathArray(std::vector<TOTARemoteProfilePathItem> Items) {
  if (!Items.empty()) FItems = std::make_shared<std::vector<TOTARemoteProfilePathItem>>(std::move(Items));
}

void TOTARemoteProfilePathArray::SetLength(std::size_t Length) {
  if (Length == 0) {
    FItems.reset();
    return;
  }
  auto Fresh = std::make_shared<std::vector<TOTARemoteProfilePathItem>>(Length);
  if (FItems) std::copy_n(FItems->begin(), std::min(Length, FItems->size()), Fresh->begin());
  FItems = std::move(Fresh);
}

std::vector<TOTARemoteProfilePathItem> TOTARemoteProfilePathArray::ToVector() const {
  return FItems ? *FItems : std::vector<TOTARemoteProfilePathItem>{};
}

bool TOTARemoteProfilePathArray::SameItems(const TOTARemoteProfilePathArray& Other) const {
  return ToVector() == Other.ToVector();
}
