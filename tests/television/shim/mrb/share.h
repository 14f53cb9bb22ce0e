#pragma once
#include <media/batch_share.h>
