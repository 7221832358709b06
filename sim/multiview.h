// The multiview layouts that the API server keeps: named canvases with numbered surfaces and windows.
//
// Not locked: the owner keeps it to one thread at a time.
#pragma once

#include <json/value.h>

#include <map>
#include <optional>
#include <string>

#include "simtypes.h"

class CMultiviewStore {
 public:
  CMultiviewStore();  // with the two layouts that the server brings along: "quad" and "pip"

  bool Has(const std::string& layout) const;
  Json::Value List() const;  // the "result" of the list
  // Each fills "result" (null where there is nothing to say) or returns the refusal.
  std::optional<T_SimError> Describe(const std::string& layout, Json::Value& result) const;
  std::optional<T_SimError> Create(const std::string& layout, const Json::Value& body);
  std::optional<T_SimError> Delete(const std::string& layout);
  // Windows and surfaces: part is "window" or "surface".
  std::optional<T_SimError> DescribePart(const std::string& layout, const std::string& part, int index,
                                         Json::Value& result) const;
  std::optional<T_SimError> CreatePart(const std::string& layout, const std::string& part, int index,
                                       const Json::Value& body);
  std::optional<T_SimError> DeletePart(const std::string& layout, const std::string& part, int index);

 private:
  struct T_Layout {
    int width = 0;
    int height = 0;
    bool readOnly = false;
    std::map<std::string, std::map<int, Json::Value>> parts;  // by "window" or "surface", then by number
  };
  std::map<std::string, T_Layout> m_layouts;
};
