#pragma once

/// Raises the abort signal once and ends the process, also when a handler of the host returns from
/// it.
[[noreturn]] void pcl_abort();
