// The look of the page. When it is changed, the hash below must be made anew; the test of the page says what it should be.
#include "ovsctl/replay/ReplayReport.h"

namespace ovs {

std::string_view HtmlReportStyle() {
  return R"css(
:root{--paper:#fbfaf7;--ink:#1d1c1a;--soft:#625e57;--rule:#dedad2;--bar:#2f6296;--faint:#c3d3e3}
@media (prefers-color-scheme:dark){
:root{--paper:#15171a;--ink:#e9e6df;--soft:#a7a198;--rule:#33363b;--bar:#84b3e3;--faint:#36485b}}
*{box-sizing:border-box}
html{-webkit-text-size-adjust:100%}
body{margin:0;background:var(--paper);color:var(--ink);
font:400 1rem/1.5 system-ui,"Segoe UI",Roboto,"Helvetica Neue",Arial,sans-serif;font-variant-numeric:tabular-nums;overflow-wrap:anywhere}
main{max-width:76rem;margin:0 auto;padding:clamp(1.5rem,5vw,4.5rem) clamp(1.125rem,4vw,3rem)}
h1,h2,.facts dd{font-family:ui-serif,Georgia,Cambria,"Times New Roman",serif;font-weight:400;letter-spacing:-.01em}
h1{font-size:clamp(2rem,5vw,3.25rem);line-height:1.1;margin:0}
h2{font-size:1.625rem;line-height:1.2;margin:0}
p,dl,ul,dd{margin:0}
.kicker{color:var(--soft);font-size:.875rem;margin-bottom:.5rem}
.lead{color:var(--soft);margin-top:1rem;font-size:1.0625rem}
.facts{display:grid;grid-template-columns:repeat(4,1fr);gap:1.5rem 2rem;margin:2.75rem 0 2rem;padding:1.5rem 0;
border-top:1px solid var(--rule);border-bottom:1px solid var(--rule)}
.facts dt{color:var(--soft);font-size:.875rem}
.facts dd{font-size:clamp(1.75rem,3vw,2.25rem);line-height:1.2;margin-top:.25rem}
.facts small{font-size:1rem;color:var(--soft)}
.notes{list-style:none;padding:0;max-width:48rem;color:var(--soft)}
.notes li+li{margin-top:.375rem}
section{margin-top:4rem}
.caption{color:var(--soft);font-size:.9375rem;margin:.5rem 0 1.5rem;max-width:48rem}
svg{display:block;width:100%;fill:var(--bar)}
.lanes{list-style:none;padding:0}
.lane{display:grid;grid-template-columns:15rem 1fr 4rem;gap:0 1.5rem;align-items:end;padding:.5rem 0}
.lane .name{line-height:1.3}
.lane svg{height:2.5rem;border-bottom:1px solid var(--soft)}
.lane .top{text-align:right;color:var(--soft);font-size:.875rem}
.axis{display:flex;justify-content:space-between;gap:1rem;color:var(--soft);font-size:.8125rem;margin:.25rem 5.5rem 0 16.5rem}
.axis span+span{text-align:right}
table{border-collapse:collapse;width:100%}
th,td{text-align:right;vertical-align:top;padding:.75rem 0 .75rem 1.5rem;font-weight:400}
th:first-child{text-align:left;padding-left:0}
thead th{color:var(--soft);font-size:.875rem;padding-top:0;padding-bottom:.5rem;vertical-align:bottom;white-space:nowrap}
tbody tr{border-top:1px solid var(--rule)}
td{white-space:nowrap}
tbody th{font-weight:600}
td small,th small{font-size:.875rem;font-weight:400;color:var(--soft)}
td small{display:block}
.sample{display:block;font-weight:400;font-size:.875rem;line-height:1.45;color:var(--soft);margin-top:.125rem}
.never th{font-weight:400}
.never td{color:var(--soft)}
.sources{max-width:48rem}
.sources th{font-weight:400}
.sources svg{height:.375rem;margin-top:.375rem}
.sources .all{fill:var(--faint)}
footer{margin-top:4rem;padding-top:1rem;border-top:1px solid var(--rule);color:var(--soft);font-size:.875rem}
@media (max-width:52rem){
.facts{grid-template-columns:repeat(2,1fr);margin-top:2rem}
section,footer{margin-top:3rem}
.lane{grid-template-columns:1fr auto;padding:.75rem 0}
.lane svg{grid-area:2/1/3/3;margin-top:.25rem}
.axis{margin-left:0;margin-right:0}
.axis span{max-width:9rem}
.rules,.rules tbody,.rules tr,.rules tbody th,.rules td{display:block}
.rules thead{position:absolute;width:1px;height:1px;overflow:hidden;clip-path:inset(50%)}
.rules tr{padding:1rem 0}
.rules tbody th{padding:0 0 .5rem}
.rules td{display:flex;justify-content:space-between;gap:1rem;padding:.125rem 0;white-space:normal}
.rules td::before{content:attr(data-label);color:var(--soft)}
.rules td:empty{display:none}}
@media print{
:root{--paper:#fff;--ink:#000;--soft:#444;--rule:#bbb;--bar:#2f6296;--faint:#c3d3e3}
body{font-size:10pt}
main{max-width:none;padding:0}
section{margin-top:2rem}
h2,.caption{break-after:avoid}
tr,.lane,.facts{break-inside:avoid}
svg{print-color-adjust:exact;-webkit-print-color-adjust:exact}}
)css";
}

std::string_view HtmlReportStyleHash() { return "hRvBrvR+yXwg1aRVNQFWhx/HOIRtBhPbpzCE6JIG9Qg="; }

}  // namespace ovs
