#include "thumbnail/video_module.h"

#include "base/loading.h"
#include "base/module.h"
#include "base/on_demand.h"

namespace mrb::thumbnail {

const VideoModule &videoModule() {
    static OnDemand<const VideoModule> loaded;
    return loaded.get([] {
        const LoadingTurn turn;
        return Module("libmrb-films.so").function<FindVideoModule>(VIDEO_MODULE_SYMBOL)();
    });
}

} // namespace mrb::thumbnail
