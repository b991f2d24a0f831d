#!/usr/bin/env bash
# Checks the dynamic symbol table of the built library: the C functions are
# exported under their plain names, the C++ ones under mangled names, and the
# protocol back ends stay local to the library.
set -euo pipefail
lib=$1
defined=$(nm -D --defined-only "$lib" | awk '{print $3}')
demangled=$(nm -D --defined-only -C "$lib" | cut -d' ' -f3-)
status=0

plain=(IndexNoClosing bufferStringCopy set_tovak_t_verbose tovakLastFailure tovakGetShotRecord
       tovakGetDTSinfox tovakGetDTSdatax2_ex
       tovakGetDTSParameters tovakGetDTSParameters_s tovakGetDTSParameters2
       tovakGetDTSParameters2_s tovakGetDTSParametersCount tovakGetDTSchSettings
       tovakGetDTSdiagShot tovakGetDTSsettings cleanup_DTSmoduleArray
       cleanup_DTSchSettingsArray cleanup_DTSsettingsArray)
for name in "${plain[@]}"; do
  if ! grep -qx "$name" <<<"$defined"; then
    echo "missing or mangled: $name"
    status=1
  fi
done

# C++ functions: present, and only under a mangled name.
cxx=(tovakGetDTSinfoCLK tovakSamplingCycle tovakSampling0Timing V2tovakSampling0Timing
     tovakFirstSampleAdjust getDTSParameters setTovakProtocolV1 setTovakProtocolV2
     isTovakProtocolV2 cCheckV2scheme CheckV2scheme tDataClientSetup IndexSetup SetupSetup
     get_dmod_host_id checkFPGA trimstrcpy is_verbose
     tovak::service::QueryDeadline::QueryDeadline tovak::service::AnswerTimeBase)
for name in "${cxx[@]}"; do
  if grep -qx "$name" <<<"$defined"; then
    echo "exported with C linkage, expected C++: $name"
    status=1
  fi
  if ! grep -q "^$name(" <<<"$demangled"; then
    echo "missing: $name"
    status=1
  fi
done

local_only=(DirectSamplingCycle DirectSampling0Timing QueryModuleTable QueryOutputRows)
for name in "${local_only[@]}"; do
  if grep -Eq "(^|[^A-Za-z0-9_])$name([^A-Za-z0-9_]|$)" <<<"$defined"$'\n'"$demangled"; then
    echo "exported but local to the library: $name"
    status=1
  fi
done

[ $status -eq 0 ] && echo "exports OK (${#plain[@]} plain, ${#cxx[@]} C++, ${#local_only[@]} local)"
exit $status
