// Message catalogues over dgettext, with the library's own domain bound to
// its installed (or overridden) catalogue folder on first use.
#include <ktz/ktz_gettext.h>

#include <libintl.h>

#include <cstdlib>
#include <cstring>
#include <mutex>

#ifndef KELP_LOCALEDIR
#define KELP_LOCALEDIR "/usr/local/share/locale"
#endif

namespace {

std::once_flag sBindOnce;
bool sExplicitlyBound = false;
std::mutex sBindMutex;

void bindOwnDomain() {
  std::lock_guard lock(sBindMutex);
  if (sExplicitlyBound) return;
  const char* dir = std::getenv("KELP_LOCALEDIR");
  if (!dir || !*dir) dir = KELP_LOCALEDIR;
  bindtextdomain(KTZ_KELP_TEXT_DOMAIN, dir);
}

}  // namespace

const char* ktzDGetText(const char* domain, const char* msgid) {
  if (!msgid) return "";
  if (!domain || !*domain) return msgid;
  if (std::strcmp(domain, KTZ_KELP_TEXT_DOMAIN) == 0) std::call_once(sBindOnce, bindOwnDomain);
  return dgettext(domain, msgid);
}

bool ktzBindTextDomain(const char* domain, const char* dir) {
  if (!domain || !*domain || !dir) return false;
  std::lock_guard lock(sBindMutex);
  if (std::strcmp(domain, KTZ_KELP_TEXT_DOMAIN) == 0) sExplicitlyBound = true;
  return bindtextdomain(domain, dir) != nullptr;
}
