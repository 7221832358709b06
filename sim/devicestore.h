// The devices that the API server knows: their documents, and what the documents do not show.
//
// Not locked: the owner keeps it to one thread at a time.
#pragma once

#include <json/value.h>

#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "simtypes.h"

struct T_Device {
  std::string id;
  Json::Value document;
  Json::Value defaults;          // the document as it was loaded; what a factory reset restores
  bool connected = true;         // false: the server has lost it
  bool settingsPending = false;  // a SETTINGS_CHANGED event is on its way
  Json::Value installed;         // the firmware package that the next boot starts; null: none
  int connections = 0;           // counts its connects
  int life = 0;                  // counts its boots; what was begun in an earlier life is over
  T_SimClock::time_point up = T_SimClock::now();
};

class CDeviceStore {
 public:
  // An answer envelope, a list of devices or a single device. False, with a reason, when it holds no usable device.
  bool Load(const Json::Value& document, std::string& reason);

  std::string FirstId() const;            // "" while empty
  T_Device* Find(const std::string& id);  // in any case; "" is the first one; null when unknown
  // The devices that a path addresses: "ALL", "ALL_TX", "ALL_RX" (any case) or an id. Pointers live as long as the
  // store.
  std::vector<T_Device*> Resolve(const std::string& target);

 private:
  std::deque<T_Device> m_devices;  // never erased: elements keep their place
};

// Changes that come from outside, not from requests.
namespace signals {
// "3840x2160p60", "1920x1080i50" or "none": the input of an encoder, else what a decoder receives. False for another
// text or a device without either.
bool SetSource(Json::Value& device, const Json::Value& defaults, const std::string& timing);
bool SetMonitor(Json::Value& device, const Json::Value& defaults, bool connected);
}  // namespace signals
