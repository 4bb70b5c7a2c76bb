#pragma once

#include "Library/Export.h"
