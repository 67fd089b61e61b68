#pragma once

/// Marks what `librecast.so` exports; everything else has hidden visibility.
#define RECAST_API __attribute__((visibility("default")))
