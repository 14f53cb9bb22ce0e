#pragma once

namespace mrb::thumbnail {

// Has libheif, which libvips reads HEIC files with, decode their pictures by libav: that
// takes a fifth less time than libheif's usual decoder. Any thread; for the whole
// process, as soon as one asks for it.
void preferLibavForHevc();

} // namespace mrb::thumbnail
