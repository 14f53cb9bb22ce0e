#include "thumbnail/video_module.h"

#include "base/loading.h"
#include "base/module.h"
#include "base/on_demand.h"

namespace mrb::thumbnail {

const Films &films() {
    static OnDemand<const Films> loaded;
    return loaded.get([] {
        const LoadingTurn turn;
        return Module("libmrb-films.so").function<FindFilms>(FILMS_SYMBOL)();
    });
}

} // namespace mrb::thumbnail
