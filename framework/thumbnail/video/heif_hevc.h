#pragma once

namespace mrb::thumbnail {

// See VideoModule::preferLibavForHevc.
void preferLibavForHevc();

// Makes libheif load its plug-ins, which it would otherwise do with the first file. Called once,
// before preferLibavForHevc: some versions begin without any other decoders.
void loadHeifPlugins();

} // namespace mrb::thumbnail
