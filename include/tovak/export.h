/* Symbol visibility of the tovak library.
 *
 * The library is built with hidden visibility; only declarations marked
 * TOVAK_EXPORT reach the dynamic symbol table. */
#ifndef TOVAK_EXPORT_H_
#define TOVAK_EXPORT_H_

#if defined(__GNUC__) || defined(__clang__)
#define TOVAK_EXPORT __attribute__((visibility("default")))
#else
#define TOVAK_EXPORT
#endif

#endif /* TOVAK_EXPORT_H_ */
