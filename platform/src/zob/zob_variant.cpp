// Helpers for the object model's plain records.
#include <zob/zob_mem.h>
#include <zob/zob_variant.h>

void zobFreeStrSeq(zob::Sequence<char*>* seq) {
  if (!seq) return;
  if (seq->buffer) {
    for (std::uint32_t i = 0; i < seq->length; ++i) zobFree(seq->buffer[i]);
    zobFree(seq->buffer);
  }
  seq->buffer = nullptr;
  seq->length = 0;
}
