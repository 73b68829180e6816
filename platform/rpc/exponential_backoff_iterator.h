// The waits between the attempts of a retried call.
#pragma once

#include "platform/text/exponential_backoff_iterator.h"
