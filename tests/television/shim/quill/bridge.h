#pragma once
#include <engine/native.hpp>
