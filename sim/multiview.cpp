#include "multiview.h"

#include "opargs.h"

namespace {

constexpr int kWidest = 8192;
constexpr int kHighestIndex = 31;
constexpr int kNarrowest = 4;

using T_Refusal = std::optional<T_SimError>;

T_SimError UnknownLayout(const std::string& layout) { return IllegalArgument("Unknown layout " + layout); }

T_SimError UnknownPart(const std::string& part, int index) {
  return IllegalArgument("Unknown " + part + " " + std::to_string(index));
}

// Positions and widths are even.
int Even(COpArgs& args, const char* key, int min) {
  const int value = args.Int(key, min, kWidest);
  if (value % 2 != 0) args.Refuse(IllegalArgument(std::string(key) + " is odd"));
  return value;
}

Json::Value Place(int index, int horizontal, int vertical, int width, int height) {
  Json::Value place;
  place["index"] = index;
  place["horizontal_position"] = horizontal;
  place["vertical_position"] = vertical;
  place["width"] = width;
  place["height"] = height;
  return place;
}

Json::Value Window(Json::Value place, int horizontalOffset, int verticalOffset, int surface) {
  place["horizontal_offset"] = horizontalOffset;
  place["vertical_offset"] = verticalOffset;
  place["target_surface"] = surface;
  place["content"] = "HDMI:" + std::to_string(place["index"].asInt());
  return place;
}

}  // namespace

CMultiviewStore::CMultiviewStore() {
  for (const char* name : {"quad", "pip"}) {
    T_Layout& layout = m_layouts[name];
    layout.width = 1920;
    layout.height = 1080;
  }
  const auto add = [](T_Layout& layout, const Json::Value& place) {
    const int index = place["index"].asInt();
    layout.parts["surface"][index] = place;
    layout.parts["window"][index] = Window(place, 0, 0, index);
  };
  for (int i = 0; i < 4; ++i) add(m_layouts["quad"], Place(i, i % 2 * 960, i / 2 * 540, 960, 540));
  add(m_layouts["pip"], Place(0, 1280, 720, 480, 270));
  add(m_layouts["pip"], Place(1, 0, 0, 1920, 1080));
}

bool CMultiviewStore::Has(const std::string& layout) const { return m_layouts.count(layout) != 0; }

Json::Value CMultiviewStore::List() const {
  Json::Value result;
  result["layout"] = Json::arrayValue;
  for (const auto& [name, layout] : m_layouts) {
    Json::Value entry;
    entry["name"] = name;
    result["layout"].append(entry);
  }
  return result;
}

T_Refusal CMultiviewStore::Describe(const std::string& name, Json::Value& result) const {
  const auto found = m_layouts.find(name);
  if (found == m_layouts.end()) return UnknownLayout(name);
  const T_Layout& layout = found->second;
  Json::Value& description = result["layout_description"];
  description["name"] = name;
  description["width"] = layout.width;
  description["height"] = layout.height;
  description["read_only"] = layout.readOnly;
  for (const char* part : {"surface", "window"}) {
    Json::Value& list = description[std::string(part) + "s"] = Json::arrayValue;
    const auto parts = layout.parts.find(part);
    if (parts == layout.parts.end()) continue;
    for (const auto& [index, entry] : parts->second) list.append(entry);
  }
  return std::nullopt;
}

T_Refusal CMultiviewStore::Create(const std::string& name, const Json::Value& body) {
  COpArgs args(body);
  T_Layout layout;
  layout.width = args.Int("width", kNarrowest, kWidest);
  layout.height = args.Int("height", 1, kWidest);
  if (args.Error()) return args.Error();
  if (name.empty()) return IllegalArgument("A layout needs a name");
  if (Has(name)) return IllegalArgument("Layout " + name + " exists");
  m_layouts[name] = layout;
  return std::nullopt;
}

T_Refusal CMultiviewStore::Delete(const std::string& name) {
  if (m_layouts.erase(name) == 0) return UnknownLayout(name);
  return std::nullopt;
}

T_Refusal CMultiviewStore::DescribePart(const std::string& name, const std::string& part, int index,
                                        Json::Value& result) const {
  const auto layout = m_layouts.find(name);
  if (layout == m_layouts.end()) return UnknownLayout(name);
  const auto parts = layout->second.parts.find(part);
  if (parts == layout->second.parts.end() || parts->second.count(index) == 0) return UnknownPart(part, index);
  result["layout_" + part] = parts->second.at(index);
  return std::nullopt;
}

T_Refusal CMultiviewStore::CreatePart(const std::string& name, const std::string& part, int index,
                                      const Json::Value& body) {
  COpArgs args(body);
  const int horizontal = Even(args, "horizontal_position", 0);
  const int vertical = Even(args, "vertical_position", 0);
  const int width = Even(args, "width", kNarrowest);
  const int height = args.Int("height", 1, kWidest);
  const int horizontalOffset = args.OptionalInt("horizontal_offset", 0, 0, kWidest);
  const int verticalOffset = args.OptionalInt("vertical_offset", 0, 0, kWidest);
  const int surface = args.OptionalInt("target_surface", 0, 0, kHighestIndex);
  if (args.Error()) return args.Error();
  if (!Has(name)) return UnknownLayout(name);
  if (index < 0 || index > kHighestIndex) return IllegalArgument("The number is not from 0 to 31");
  const Json::Value place = Place(index, horizontal, vertical, width, height);
  m_layouts[name].parts[part][index] =
      part == "window" ? Window(place, horizontalOffset, verticalOffset, surface) : place;
  return std::nullopt;
}

T_Refusal CMultiviewStore::DeletePart(const std::string& name, const std::string& part, int index) {
  const auto layout = m_layouts.find(name);
  if (layout == m_layouts.end()) return UnknownLayout(name);
  if (layout->second.parts[part].erase(index) == 0) return UnknownPart(part, index);
  return std::nullopt;
}
