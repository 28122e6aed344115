#!/usr/bin/env bash
# The worker pool under ThreadSanitizer: only the library and the pool's
# tests, run with more rounds than the plain suite gives them. Each test in a
# process of its own, as ctest runs them: a child of fork() that starts
# threads must come from a process without any.
set -euo pipefail

KALVIRO_POOL_ROUNDS="${1:-40}" exec bash "$(dirname "${BASH_SOURCE[0]}")/tsan.sh" '^Pool\.' kalviro_pool_tests
