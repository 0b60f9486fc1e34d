#pragma once

/// Agent and device on one processor: waking each other across processors takes longer than the
/// exchange, and varies.
void stayOnThisProcessor();
