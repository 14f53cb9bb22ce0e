#pragma once
#include <media/content_agent.h>
