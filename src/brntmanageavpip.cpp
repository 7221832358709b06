#include "brntmanageavpip.h"

#include <avahi-client/client.h>
#include <avahi-client/lookup.h>
#include <avahi-common/address.h>
#include <avahi-common/error.h>
#include <avahi-common/malloc.h>
#include <avahi-common/simple-watch.h>
#include <avahi-common/strlst.h>
#include <pthread.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <map>
#include <memory>

#include "OSMutex.h"
#include "OSTypes.h"
#include "brntjson.h"
#include "brntlog.h"

namespace {

constexpr char kServiceType[] = "_tmp._udp";

// Anybody on the network may announce devices, and none is ever forgotten: this bounds what a flood of made-up ids can
// take.
constexpr std::size_t kMaxDevices = 4096;

// Device id to address text. Entries are added or overwritten, never removed.
struct T_AvpIpMap {
  OSMutex mutex;
  std::map<std::string, std::string> dev2Ip GUARDED_BY(mutex);
};

T_AvpIpMap& AvpIpMap() {
  static T_AvpIpMap* s_mapDev2Ip = new T_AvpIpMap();  // outlives every thread
  return *s_mapDev2Ip;
}

// False when the map is full and the device a new one.
bool StoreAddress(const std::string& deviceId, const std::string& ip) {
  T_AvpIpMap& map = AvpIpMap();
  const OSMutexLocker lock(map.mutex);
  if (map.dev2Ip.size() >= kMaxDevices && map.dev2Ip.count(deviceId) == 0) return false;
  map.dev2Ip[deviceId] = ip;
  return true;
}

// What one run of the discovery thread works with. The objects are freed last to first: the browser and its resolvers
// belong to the client, the client to the poll.
struct T_Discovery {
  std::unique_ptr<AvahiSimplePoll, void (*)(AvahiSimplePoll*)> poll{nullptr, avahi_simple_poll_free};
  std::unique_ptr<AvahiClient, void (*)(AvahiClient*)> client{nullptr, avahi_client_free};
  std::unique_ptr<AvahiServiceBrowser, int (*)(AvahiServiceBrowser*)> browser{nullptr, avahi_service_browser_free};

  void Quit() const { avahi_simple_poll_quit(poll.get()); }
};

void PrintService(const char* name, const char* type, const char* domain, const char* hostName,
                  const AvahiAddress* address, uint16_t port, AvahiStringList* txt, AvahiLookupResultFlags flags) {
  char addressText[AVAHI_ADDRESS_STR_MAX] = "";
  if (address != nullptr) avahi_address_snprint(addressText, sizeof addressText, address);
  const std::unique_ptr<char, void (*)(void*)> txtText(avahi_string_list_to_string(txt), avahi_free);
  const auto has = [flags](AvahiLookupResultFlags flag) { return (flags & flag) != 0 ? 1 : 0; };

  std::printf("Service '%s' of type '%s' in domain '%s':\n", name, type, domain);
  std::printf(
      "\t%s:%u (%s)\n\tTXT=%s\n\tcookie is %u\n\tis_local: %i\n\tour_own: %i\n\twide_area: %i\n\tmulticast: %i\n"
      "\tcached: %i\n",
      hostName, port, addressText, txtText == nullptr ? "" : txtText.get(), avahi_string_list_get_service_cookie(txt),
      has(AVAHI_LOOKUP_RESULT_LOCAL), has(AVAHI_LOOKUP_RESULT_OUR_OWN), has(AVAHI_LOOKUP_RESULT_WIDE_AREA),
      has(AVAHI_LOOKUP_RESULT_MULTICAST), has(AVAHI_LOOKUP_RESULT_CACHED));
  std::fflush(stdout);
}

// The strings of a TXT record come with a length and without a closing zero.
void ReadTxtRecord(AvahiStringList* txt) {
  for (AvahiStringList* entry = txt; entry != nullptr; entry = avahi_string_list_get_next(entry)) {
    const auto* bytes = reinterpret_cast<const char*>(avahi_string_list_get_text(entry));
    AvpIpManage::UpdateFromTxtString(std::string(bytes, avahi_string_list_get_size(entry)));
  }
}

void resolve_callback(AvahiServiceResolver* resolver, AvahiIfIndex /*interface*/, AvahiProtocol /*protocol*/,
                      AvahiResolverEvent event, const char* name, const char* type, const char* domain,
                      const char* hostName, const AvahiAddress* address, uint16_t port, AvahiStringList* txt,
                      AvahiLookupResultFlags flags, void* /*userData*/) {
  if (event == AVAHI_RESOLVER_FAILURE) {
    std::fprintf(stderr, "(Resolver) Failed to resolve service '%s' of type '%s' in domain '%s': %s\n", name, type,
                 domain, avahi_strerror(avahi_client_errno(avahi_service_resolver_get_client(resolver))));
  } else {
    PrintService(name, type, domain, hostName, address, port, txt, flags);
    ReadTxtRecord(txt);
  }
  avahi_service_resolver_free(resolver);
}

void ResolveNewService(AvahiClient* client, AvahiIfIndex interface, AvahiProtocol protocol, const char* name,
                       const char* type, const char* domain, void* userData) {
  std::printf("(Browser) NEW: service '%s' of type '%s' in domain '%s'\n", name, type, domain);
  std::fflush(stdout);
  // The resolver frees itself in its callback.
  if (avahi_service_resolver_new(client, interface, protocol, name, type, domain, AVAHI_PROTO_UNSPEC,
                                 static_cast<AvahiLookupFlags>(0), resolve_callback, userData) == nullptr) {
    std::fprintf(stderr, "Failed to resolve service '%s': %s\n", name, avahi_strerror(avahi_client_errno(client)));
  }
}

void browse_callback(AvahiServiceBrowser* browser, AvahiIfIndex interface, AvahiProtocol protocol,
                     AvahiBrowserEvent event, const char* name, const char* type, const char* domain,
                     AvahiLookupResultFlags /*flags*/, void* userData) {
  const auto* discovery = static_cast<const T_Discovery*>(userData);
  // The browser's first events arrive while it is being made, so the client is asked of the browser.
  AvahiClient* client = avahi_service_browser_get_client(browser);
  switch (event) {
    case AVAHI_BROWSER_FAILURE:
      std::fprintf(stderr, "(Browser) %s\n", avahi_strerror(avahi_client_errno(client)));
      discovery->Quit();
      break;
    case AVAHI_BROWSER_NEW:
      ResolveNewService(client, interface, protocol, name, type, domain, userData);
      break;
    case AVAHI_BROWSER_ALL_FOR_NOW:
    case AVAHI_BROWSER_CACHE_EXHAUSTED:
      std::printf("(Browser) %s\n", event == AVAHI_BROWSER_ALL_FOR_NOW ? "ALL_FOR_NOW" : "CACHE_EXHAUSTED");
      std::fflush(stdout);
      break;
    case AVAHI_BROWSER_REMOVE:
      break;  // what was learned stays
  }
}

void client_callback(AvahiClient* client, AvahiClientState state, void* userData) {
  if (state != AVAHI_CLIENT_FAILURE) return;
  std::fprintf(stderr, "Server connection failure: %s\n", avahi_strerror(avahi_client_errno(client)));
  static_cast<const T_Discovery*>(userData)->Quit();
}

void* CollectAvpIpThread(void* /*arg*/) {
  T_Discovery discovery;
  discovery.poll.reset(avahi_simple_poll_new());
  if (discovery.poll == nullptr) {
    std::fprintf(stderr, "Failed to create simple poll object.\n");
    return nullptr;
  }
  int error = 0;
  discovery.client.reset(avahi_client_new(avahi_simple_poll_get(discovery.poll.get()), static_cast<AvahiClientFlags>(0),
                                          client_callback, &discovery, &error));
  if (discovery.client == nullptr) {
    std::fprintf(stderr, "Failed to create client: %s\n", avahi_strerror(error));
    return nullptr;
  }
  discovery.browser.reset(avahi_service_browser_new(discovery.client.get(), AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC,
                                                    kServiceType, nullptr, static_cast<AvahiLookupFlags>(0),
                                                    browse_callback, &discovery));
  if (discovery.browser == nullptr) {
    std::fprintf(stderr, "Failed to create service browser: %s\n",
                 avahi_strerror(avahi_client_errno(discovery.client.get())));
    return nullptr;
  }
  avahi_simple_poll_loop(discovery.poll.get());
  return nullptr;
}

// 0, or the error's number.
int StartDetachedThread(int stackSize, void* (*entry)(void*)) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
  int error = pthread_attr_setstacksize(&attributes, stackSize < 0 ? 0 : static_cast<std::size_t>(stackSize));
  pthread_t thread{};
  if (error == 0) error = pthread_create(&thread, &attributes, entry, nullptr);
  pthread_attr_destroy(&attributes);
  return error;
}

}  // namespace

void AvpIpManage::DoCollectAvpIp(int stackSize) {
  errno = StartDetachedThread(stackSize, CollectAvpIpThread);
  if (errno != 0) std::perror("pthread_create Receiver read thread error:");
}

bool AvpIpManage::SearchAvpIpFromMap(std::string deviceId, std::string& ip) {
  T_AvpIpMap& map = AvpIpMap();
  {
    const OSMutexLocker lock(map.mutex);
    const auto found = map.dev2Ip.find(deviceId);
    if (found != map.dev2Ip.end()) {
      ip = found->second;
      return true;
    }
  }
  HLOG_ERROR("Not found Avp IP IN Map");
  return false;
}

bool AvpIpManage::UpdateFromTxtString(const std::string& txt) {
  Json::Value object;
  if (!brntjson::Parse(txt, object)) {
    HLOG_ERROR("Avahi Browse Data isn't Json Format");
    return false;
  }
  if (brntjson::IsMissingOrEmpty(object, "deviceid") || brntjson::IsMissingOrEmpty(object, "avpip")) return false;
  std::string deviceId;
  std::string ip;
  if (!brntjson::GetString(object, "deviceid", deviceId) || !brntjson::GetString(object, "avpip", ip)) return false;
  if (!StoreAddress(deviceId, ip)) {
    HLOG_ERROR("too many avp devices, deviceid[%s] avpip[%s] dropped", deviceId.c_str(), ip.c_str());
    return false;
  }
  HLOG_INFO("new avp device, deviceid[%s] avpip[%s]", deviceId.c_str(), ip.c_str());
  return true;
}
