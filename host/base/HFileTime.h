#pragma once

// When a file was made and last changed, in seconds since 1970-01-01 00:00:00 UTC. A value.
struct HFileTime {
    long long creation_time = 0;  // where the file system keeps none: of the last change of the file's status
    long long modification_time = 0;
};
