#include "Panel/PanelScripts.hpp"

namespace Velmora {

char const kTokenPullScript[] =
    "(function pull(n){try{if(!window.velmora){if(n>0)setTimeout(function(){pull(n-1);},100);"
    "return;}var s=window.getFirebaseToken&&window.getFirebaseToken();if(s){var "
    "r=JSON.parse(s);if(r&&r.success&&r.token){window.velmora.onAuthToken(r.token);}}}catch(e){}"
    "})(50);";

char const kInputShimScript[] =
    // 1. Once per document.
    "(function(){if(window.__vlmInputShim3)return;window.__vlmInputShim3=true;"
    // 2. A logger and its rate-limited form.
    "function L(m){try{if(window.velmora&&window.velmora.log)window.velmora.log('probe: '+m);}"
    "catch(e){}}var pn=0;function P(m){if(pn<50){pn++;L(m);}}"
    // 3. The last pointer position, from the centre of the window.
    "var px=window.innerWidth/2,py=window.innerHeight/2;"
    "function T(e){px=e.clientX;py=e.clientY;}"
    "window.addEventListener('mousemove',T,true);window.addEventListener('mousedown',T,true);"
    // 4. Real control-wheels.
    "var lastCtrl=0;window.addEventListener('wheel',function(e){if(e.isTrusted&&e.ctrlKey)"
    "lastCtrl=Date.now();P('wheel ctrl='+e.ctrlKey+' dy='+e.deltaY+' trust='+e.isTrusted);},"
    "{passive:true,capture:true});"
    // 5. The zoom signature of the canvas.
    "function Z(){try{var c=document.querySelector('[data-canvas-container]');if(!c)return '';"
    "var d=c.querySelectorAll('*'),n=Math.min(d.length,12);for(var i=0;i<n;i++){"
    "var t=getComputedStyle(d[i]).transform;if(t&&t!=='none'){var m=new DOMMatrix(t);"
    "if(Math.abs(Math.hypot(m.a,m.b)-1)>0.0001)return t;}}"
    "return n>0?getComputedStyle(d[0]).transform:'';}catch(e){return '';}}"
    // 6. The native side's control-wheel.
    "window.__vlmSyntheticCtrlWheel=function(dy){if(Date.now()-lastCtrl<300)return;"
    "var t=document.elementFromPoint(px,py)||document.body;if(!t)return;"
    "t.dispatchEvent(new WheelEvent('wheel',{bubbles:true,cancelable:true,composed:true,"
    "ctrlKey:true,deltaX:0,deltaY:dy,deltaMode:0,clientX:px,clientY:py,screenX:px,"
    "screenY:py}));};"
    // 7. A double click the page did not react to is sent once more.
    "window.addEventListener('dblclick',function(e){if(!e.isTrusted)return;"
    "var x=e.clientX,y=e.clientY,s=Z();setTimeout(function(){if(Z()!==s)return;"
    "var t=document.elementFromPoint(x,y)||document.body;if(!t)return;"
    "t.dispatchEvent(new MouseEvent('dblclick',{bubbles:true,cancelable:true,composed:true,"
    "detail:2,button:0,clientX:x,clientY:y,screenX:x,screenY:y}));},300);},true);"
    // 8. Done.
    "L('input shim v3 installed');})();";

} // namespace Velmora
