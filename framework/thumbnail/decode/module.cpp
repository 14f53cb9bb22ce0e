// Brings the decoders' functions into the library, which is made of an archive:
// without this nothing in it would be asked for.

#include "thumbnail/decoding.h"

namespace {

[[gnu::used]] mrb::thumbnail::Decode *const wanted = mrb::thumbnail::mrb_decode_thumbnail;

} // namespace
