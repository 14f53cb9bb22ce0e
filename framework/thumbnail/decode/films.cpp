#include "thumbnail/films.h"

#include "base/module.h"

namespace mrb::thumbnail {

const Films &films() {
    static const Films &loaded = *Module("libmrb-films.so").function<FindFilms>(FILMS_SYMBOL)();
    return loaded;
}

} // namespace mrb::thumbnail
