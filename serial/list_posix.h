#pragma once

struct PclList;

/// Replaces the content of the list of texts by the names of the ports that the given folder, laid
/// out like /sys/class/tty, describes. A folder that cannot be read gives an empty list.
void pcl_serial_list_folder(PclList *out, const char *folder);
