/* Text codecs of the portable runtime: conversion between character sets.
 *
 * A codec converts from one charset to another, in both directions (decoding
 * input into UTF-8 or the locale's charset, encoding output from UTF-8 into
 * ISO-8859-1, UTF-16 ...), incrementally: the text may arrive in blocks cut
 * anywhere, even inside a character, and the output may be collected in a
 * buffer of any size. Charset names are those of the system's converter
 * (IANA names and their common aliases; case does not matter).
 *
 *   KtzTextCodec* codec = nullptr;
 *   if (EFAILED(ktzOpenTextCodec("ISO-8859-1", "UTF-8", &codec))) return;
 *   size_t used = 0, made = 0;
 *   ZResult r = ktzConvertText2(codec, in, inSize, &used, out, outSize, &made,
 *                               kKtzConvFirst | kKtzConvFinal);
 *   ktzCloseTextCodec(codec);
 *
 * A codec is a plain object of one owner; different codecs may be used on
 * different threads at the same time. */
#ifndef KTZ_KTZ_CODEC_H
#define KTZ_KTZ_CODEC_H

#include <cstddef>

#include <zob/zob_api.h>
#include <zob/zob_result.h>

/* An open conversion from one charset to another. */
struct KtzTextCodec;

/* Flags of ktzConvertText2. */
/* The input starts a new text: the codec forgets any state of earlier calls
 * (shift state, byte order learned from a byte-order mark, a mark already
 * written). */
constexpr unsigned kKtzConvFirst = 0x1u;
/* No input follows this block: an incomplete character at its end is an
 * illegal sequence, and the codec writes what ends the text (the return to
 * the initial shift state of stateful charsets). */
constexpr unsigned kKtzConvFinal = 0x2u;

/* Positive (successful but partial) results of ktzConvertText2. */
/* The output buffer is full: call again with the rest of the input. */
constexpr ZResult kKtzConvOutputFull = 1;
/* The input ends inside a character: call again with more input appended to
 * the unconsumed rest. Only without kKtzConvFinal. */
constexpr ZResult kKtzConvNeedInput = 2;

/* Opens a codec from charset `from` to charset `to`. On success *out holds a
 * codec that the caller closes with ktzCloseTextCodec. Fails with
 * zob::kInvalidArgument for a null or empty name or null out, with
 * zob::kUnsupported when the system cannot convert between the two charsets,
 * with zob::kOutOfMemory when resources run out; *out is then null. */
ZOB_API ZResult ktzOpenTextCodec(const char* from, const char* to, KtzTextCodec** out);

/* Converts up to inSize bytes at `in` into at most outSize bytes at `out`.
 * *inUsed receives the number of input bytes consumed and *outUsed the number
 * of output bytes written, also when the call fails part-way. Results:
 *   zob::kOk               all input converted (and, with kKtzConvFinal, the
 *                          text ended);
 *   kKtzConvOutputFull     the output buffer is full before the input ended;
 *   kKtzConvNeedInput      the input ends inside a character (without
 *                          kKtzConvFinal); the rest is not consumed;
 *   zob::kIllegalSequence  the input at in + *inUsed is not a valid character
 *                          of `from`, cannot be represented in `to`, or (with
 *                          kKtzConvFinal) is an incomplete character; everything
 *                          before it was converted;
 *   zob::kInvalidArgument  null codec or null pointers.
 * A caller recovers from an illegal sequence by skipping bytes of the input
 * and calling again (without kKtzConvFirst). */
ZOB_API ZResult ktzConvertText2(KtzTextCodec* codec, const void* in, std::size_t inSize,
                                std::size_t* inUsed, void* out, std::size_t outSize,
                                std::size_t* outUsed, unsigned flags);

/* Closes a codec; null is allowed and does nothing. */
ZOB_API void ktzCloseTextCodec(KtzTextCodec* codec);

/* The MIBenum of a charset name in the IANA character-set registry, found
 * among the registered names and aliases without regard to case. Common
 * spellings outside the registry give the number of the charset they stand
 * for: "UCS-2", "UCS2", "UCS-2BE", "UCS-2LE" 1000; "UCS-4", "UCS4",
 * "UCS-4BE", "UCS-4LE" 1001; "UTF8" 106; "UTF16", "UTF16BE", "UTF16LE",
 * "UTF32", "UTF32BE", "UTF32LE" as their hyphenated forms. Unknown names and null give 0. */
ZOB_API int ktzCSNameToMIBenum(const char* name);

#endif
