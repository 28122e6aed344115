#!/usr/bin/env bash
# The viewer's server under ThreadSanitizer: the command and the per-pixel
# program its tests compare with, running the viewer's HTTP tests (the live
# ones too: the reader thread fills the store while the server's threads
# read it). Any report stops the viewer, and so fails its test.
set -euo pipefail

here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
KALVIRO_TSAN_SUPPRESSIONS="$here/tsan-httplib.supp" exec bash "$here/tsan.sh" '^view_http$' kalviro_cli kalviro_per_pixel
