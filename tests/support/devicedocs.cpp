#include "devicedocs.h"

#include <json/reader.h>

#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace devicedocs {

namespace {

// One part of a path: a member, and perhaps the element of it that is meant.
struct T_Step {
  std::string member;
  std::string element;  // type or name; empty when the member itself is meant
  int index = 0;
};

std::vector<T_Step> Split(const std::string& path) {
  std::vector<T_Step> steps;
  std::stringstream parts(path);
  for (std::string part; std::getline(parts, part, '.');) {
    T_Step step;
    const size_t bracket = part.find('[');
    step.member = part.substr(0, bracket);
    if (bracket != std::string::npos) {
      const size_t colon = part.find(':', bracket);
      step.element = part.substr(bracket + 1, colon - bracket - 1);
      step.index = std::stoi(part.substr(colon + 1));
    }
    steps.push_back(step);
  }
  return steps;
}

bool IsMeant(const Json::Value& element, const T_Step& step) {
  const char* key = element.isMember("type") ? "type" : "name";
  return element[key] == step.element && element["index"] == step.index;
}

Json::ArrayIndex PositionOf(const Json::Value& list, const T_Step& step) {
  for (Json::ArrayIndex i = 0; i < list.size(); ++i) {
    if (IsMeant(list[i], step)) return i;
  }
  throw std::runtime_error("no element " + step.element + " in " + step.member);
}

Json::Value& Descend(Json::Value& value, const T_Step& step) {
  Json::Value& member = value[step.member];
  return step.element.empty() ? member : member[PositionOf(member, step)];
}

}  // namespace

Json::Value FromText(const std::string& text) {
  const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
  Json::Value value;
  std::string errors;
  if (!reader->parse(text.data(), text.data() + text.size(), &value, &errors)) throw std::runtime_error(errors);
  return value;
}

Json::Value Sample(const std::string& name) {
  static std::map<std::string, Json::Value> s_samples;  // read once
  Json::Value& sample = s_samples[name];
  if (sample.isNull()) {
    std::ifstream file(HALYARD_SOURCE_DIR "/sim/samples/" + name + ".json");
    std::stringstream text;
    text << file.rdbuf();
    sample = FromText(text.str())["result"]["devices"][0];
  }
  return sample;
}

Json::Value& At(Json::Value& document, const std::string& path) {
  Json::Value* place = &document;
  for (const T_Step& step : Split(path)) place = &Descend(*place, step);
  return *place;
}

const Json::Value* Find(const Json::Value& document, const std::string& path) {
  const Json::Value* place = &document;
  for (const T_Step& step : Split(path)) {
    if (!place->isObject() || !place->isMember(step.member)) return nullptr;
    place = &(*place)[step.member];
    if (!step.element.empty()) place = &(*place)[PositionOf(*place, step)];
  }
  return place;
}

void Remove(Json::Value& document, const std::string& path) {
  std::vector<T_Step> steps = Split(path);
  const T_Step last = steps.back();
  steps.pop_back();
  Json::Value* place = &document;
  for (const T_Step& step : steps) place = &Descend(*place, step);
  if (last.element.empty()) {
    place->removeMember(last.member);
    return;
  }
  Json::Value& list = (*place)[last.member];
  list.removeIndex(PositionOf(list, last), nullptr);
}

}  // namespace devicedocs
