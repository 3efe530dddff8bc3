// Allocation and string copies of the object model, over the malloc family.
#include <zob/zob_mem.h>

#include <cstdlib>
#include <cstring>

void* zobMalloc(std::size_t size) {
  return std::malloc(size ? size : 1);
}
void* zobCalloc(std::size_t count, std::size_t size) {
  return std::calloc(count ? count : 1, size ? size : 1);
}
void* zobRealloc(void* p, std::size_t size) {
  return std::realloc(p, size ? size : 1);
}
void zobFree(void* p) {
  std::free(p);
}

static char* copyBytes(const char* s, std::size_t n) {
  char* d = static_cast<char*>(std::malloc(n + 1));
  if (!d) return nullptr;
  std::memcpy(d, s, n);
  d[n] = '\0';
  return d;
}

char* zobStrDup(const char* s) {
  return s ? copyBytes(s, std::strlen(s)) : nullptr;
}
char* zobStrDup0(const char* s) {
  return zobStrDup(s ? s : "");
}
char* zobStrNDup(const char* s, std::size_t n) {
  return s ? copyBytes(s, strnlen(s, n)) : nullptr;
}
char* zobStrNDup0(const char* s, std::size_t n) {
  return s ? zobStrNDup(s, n) : zobStrDup("");
}
