#pragma once
#include <media/storage_manager.h>
