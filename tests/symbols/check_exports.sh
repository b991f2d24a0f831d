#!/usr/bin/env bash
# The dynamic symbol table of the built library: the C functions under their plain names, the
# protocol back ends not at all.
set -euo pipefail
defined=$(nm -D --defined-only "$1" | awk '{print $3}')
status=0
for name in IndexNoClosing bufferStringCopy set_tovak_t_verbose tovakLastFailure \
    tovakGetShotRecord tovakGetDTSinfox tovakGetDTSdatax2_ex tovakGetDTSParameters \
    tovakGetDTSParameters_s tovakGetDTSParameters2 tovakGetDTSParameters2_s \
    tovakGetDTSParametersCount tovakGetDTSchSettings tovakGetDTSdiagShot tovakGetDTSsettings \
    cleanup_DTSmoduleArray cleanup_DTSchSettingsArray cleanup_DTSsettingsArray; do
  grep -qx "$name" <<<"$defined" || { echo "missing or mangled: $name"; status=1; }
done
! grep -E "DirectSamplingCycle|DirectSampling0Timing|QueryModuleTable|QueryOutputRows" <<<"$defined" ||
  { echo "exported but local to the library"; status=1; }
exit $status
