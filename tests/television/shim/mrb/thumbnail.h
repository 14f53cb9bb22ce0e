#pragma once
#include <media/thumbs.h>
