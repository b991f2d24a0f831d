#!/usr/bin/env bash
# The dynamic symbol table of the built library: the C functions under their plain names, the C++
# ones under mangled names only, the protocol back ends not at all.
set -euo pipefail
defined=$(nm -D --defined-only "$1" | awk '{print $3}')
demangled=$(nm -D --defined-only -C "$1" | cut -d' ' -f3-)
status=0
fail() { echo "$1"; status=1; }
for name in IndexNoClosing bufferStringCopy set_tovak_t_verbose tovakLastFailure \
    tovakGetShotRecord tovakGetDTSinfox tovakGetDTSdatax2_ex tovakGetDTSParameters \
    tovakGetDTSParameters_s tovakGetDTSParameters2 tovakGetDTSParameters2_s \
    tovakGetDTSParametersCount tovakGetDTSchSettings tovakGetDTSdiagShot tovakGetDTSsettings \
    cleanup_DTSmoduleArray cleanup_DTSchSettingsArray cleanup_DTSsettingsArray; do
  grep -qx "$name" <<<"$defined" || fail "missing or mangled: $name"
done
for name in tovakGetDTSinfoCLK tovakSamplingCycle tovakSampling0Timing V2tovakSampling0Timing \
    tovakFirstSampleAdjust getDTSParameters setTovakProtocolV1 setTovakProtocolV2 \
    isTovakProtocolV2 cCheckV2scheme CheckV2scheme tDataClientSetup IndexSetup SetupSetup \
    get_dmod_host_id checkFPGA trimstrcpy is_verbose \
    tovak::service::QueryDeadline::QueryDeadline tovak::service::AnswerTimeBase; do
  ! grep -qx "$name" <<<"$defined" || fail "exported with C linkage, expected C++: $name"
  grep -q "^$name(" <<<"$demangled" || fail "missing: $name"
done
for name in DirectSamplingCycle DirectSampling0Timing QueryModuleTable QueryOutputRows; do
  ! grep -Eq "(^|[^A-Za-z0-9_])$name([^A-Za-z0-9_]|$)" <<<"$defined"$'\n'"$demangled" ||
    fail "exported but local to the library: $name"
done
exit $status
