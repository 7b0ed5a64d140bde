#pragma once
// What is the same on every page: its style; its script, which filters the tracks, also by a word in the
// address of the page (page.html#search=WORD); and the policy that allows these two, by their SHA-256, and
// nothing else.

#include <string_view>

constexpr std::string_view page_style = R"(
:root{color-scheme:light dark;--text:#1b1b1f;--ground:#fdfdfc;--soft:#5d5d66;--line:#d9d9de;--a:#2f7d4f;
--b:#c4432b;--c:#b9852a;--d:#7a6fb0;--e:#4a86b5}
@media(prefers-color-scheme:dark){:root{--text:#e9e9ee;--ground:#18181b;--soft:#a6a6b0;--line:#3a3a42;
--a:#52b27c;--b:#e77a63;--c:#dcae57;--d:#a99fe0;--e:#7db3dd}}
body{margin:0 auto;padding:1rem;max-width:60rem;font:1rem/1.5 system-ui,sans-serif;color:var(--text);
background:var(--ground);overflow-wrap:anywhere}
h1{font-size:1.3rem}h2{font-size:1.1rem;margin-top:2rem}
svg{display:block;width:100%;height:1.5rem;border-radius:.3rem}
.record{fill:var(--a);color:var(--a)}.missing{fill:var(--b);color:var(--b)}.protected{fill:var(--c);color:var(--c)}
.no-location{fill:var(--d);color:var(--d)}.stream{fill:var(--e);color:var(--e)}
.bad{border-left:.4rem solid var(--b);padding-left:.6rem}
small,code,footer{color:var(--soft)}code{display:block;font-size:.85rem}
pre{white-space:pre-wrap;border:1px solid var(--line);border-radius:.3rem;padding:.6rem}
table{border-collapse:collapse}td,th{padding:.1rem .6rem .1rem 0;text-align:right}th{white-space:nowrap}
td:last-child,th:last-child{text-align:left}
ul{list-style:none;padding:0}.rows>*{margin:0}.rows>*+*{content-visibility:auto;contain-intrinsic-size:auto 280rem}
.rows>ol+ol{contain-intrinsic-size:auto 150rem}.rows.few>*{content-visibility:visible}
details{border-bottom:1px solid var(--line);padding:.3rem 0}summary{cursor:pointer}
.gone{color:var(--b)}.gone::after{content:" - no file";font-size:smaller;color:var(--soft)}
input{font:inherit;width:100%;box-sizing:border-box;padding:.4rem}
)";

constexpr std::string_view page_script = R"(
const field=document.getElementById("filter");
if(field){
const tracks=document.querySelector("#shown+.rows");
const shown=document.getElementById("shown");
let blocks=[];
const read=row=>[row,row.textContent.toLowerCase()];
const filter=()=>{
if(!blocks.length)blocks=Array.from(tracks.children,block=>[block,Array.from(block.children,read)]);
const wanted=field.value.toLowerCase();
let all=0,count=0;
for(const [block,rows] of blocks){
const found=rows.filter(([,text])=>text.includes(wanted)).length;
if(found>0)for(const [row,text] of rows)row.hidden=!text.includes(wanted);
block.hidden=found===0;
all+=rows.length;count+=found;
}
tracks.classList.toggle("few",1000>count);
shown.textContent=count+" of "+all+" tracks";
};
field.hidden=false;
field.value=new URLSearchParams(location.hash.slice(1)).get("search")||"";
field.addEventListener("input",filter);
if(field.value)filter();
}
)";

constexpr std::string_view page_policy = "default-src 'none'; base-uri 'none'; form-action 'none'; "
                                         "style-src 'sha256-RmyqALa+oYEF0tAgI2ZtDyobrLYCwoMdxPGY4SKQViA='; "
                                         "script-src 'sha256-xrnaXjLDi9Bosfx0rqRN3Tx+sdhNoQPjnzqdrJb+LJ8='";
