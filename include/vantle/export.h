// vantle/export.h: the mark that makes a declaration part of libvantleassist.so's
// exported contract. Harmless for a host: declarations it sees only gain default
// visibility.
#ifndef VANTLE_EXPORT_H_
#define VANTLE_EXPORT_H_

#define VANTLE_EXPORT __attribute__((visibility("default")))

#endif  // VANTLE_EXPORT_H_
