#pragma once

#include "platform/CharacterSet.h"
