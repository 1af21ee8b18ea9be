// What the new-profile wizard answers beyond a profile's fields: whether the user made the new
// profile its platform's default. The profile the wizard hook returns offers it; whoever adds
// the new profile asks for it (dynamic_pointer_cast) and adds the profile as default when set.
#pragma once

class IOTANewRemoteProfile {
 public:
  virtual ~IOTANewRemoteProfile() = default;
  virtual bool GetAsDefault() const = 0;
};
