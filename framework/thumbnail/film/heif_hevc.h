#pragma once

namespace mrb::thumbnail {

// As Films::preferLibavForHevc.
void preferLibavForHevc();

// Has libheif load its plug-ins, which it would otherwise do with the first file. Once, and
// before the above: some versions begin with no other decoders than these.
void loadHeifPlugins();

} // namespace mrb::thumbnail
