#pragma once

namespace mrb::thumbnail {

// As Films::preferLibavForHevc.
void preferLibavForHevc();

} // namespace mrb::thumbnail
