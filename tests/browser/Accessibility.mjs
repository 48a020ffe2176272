// What a page must have for people who read it with a screen reader, with a magnifier or in bright sunlight.
// The measures are those of WCAG 2.2, level AA.

/** What is wrong with the page, one line a fault. Runs in the page. */
function faultsOfPage() {
    const faults = [];
    const say = (element, text) => faults.push(`${element.tagName.toLowerCase()} "${element.textContent.trim().slice(0, 30)}": ${text}`);

    const numbers = (color) => {
        const [r, g, b, a = 1] = color.match(/[\d.]+/g).map(Number);
        return { r, g, b, a };
    };
    const luminance = ({ r, g, b }) => {
        const [x, y, z] = [r, g, b].map((v) => (v / 255 <= 0.04045 ? v / 255 / 12.92 : ((v / 255 + 0.055) / 1.055) ** 2.4));
        return 0.2126 * x + 0.7152 * y + 0.0722 * z;
    };
    const contrast = (one, other) => {
        const [dark, light] = [luminance(one), luminance(other)].sort((a, b) => a - b);
        return (light + 0.05) / (dark + 0.05);
    };
    const background = (element) => {
        for (let at = element; at; at = at.parentElement) {
            const color = numbers(getComputedStyle(at).backgroundColor);
            if (color.a === 1) {
                return color;
            }
        }
        return { r: 255, g: 255, b: 255 };
    };
    const hasOwnText = (element) => [...element.childNodes].some((node) => node.nodeType === 3 && node.data.trim());

    let texts = 0;
    for (const element of document.body.querySelectorAll('*')) {
        if (!hasOwnText(element) && element.tagName !== 'INPUT') {
            continue;
        }
        const ratio = contrast(numbers(getComputedStyle(element).color), background(element));
        texts += 1;
        if (ratio < 4.5) {
            say(element, `contrast of the text is ${ratio.toFixed(2)}`);
        }
    }
    if (texts < 2) {
        faults.push(`only ${texts} texts were found to measure`);
    }
    for (const input of document.querySelectorAll('input:not([type=hidden])')) {
        const ratio = contrast(numbers(getComputedStyle(input).borderTopColor), background(input.parentElement));
        if (ratio < 3) {
            say(input, `contrast of the border is ${ratio.toFixed(2)}`);
        }
        if (!input.labels.length || !input.labels[0].textContent.trim()) {
            say(input, 'no label');
        }
    }
    for (const described of document.querySelectorAll('[aria-describedby],[aria-labelledby]')) {
        for (const name of ['aria-describedby', 'aria-labelledby']) {
            for (const id of (described.getAttribute(name) ?? '').split(/\s+/).filter(Boolean)) {
                if (!document.getElementById(id)?.textContent.trim()) {
                    say(described, `${name} names "${id}", which says nothing`);
                }
            }
        }
    }
    for (const control of document.querySelectorAll('a[href],button,input:not([type=hidden])')) {
        const { width, height } = control.getBoundingClientRect();
        if (width < 24 || height < 24) {
            say(control, `too small to hit: ${width} by ${height}`);
        }
        if (control.tagName !== 'INPUT' && !control.textContent.trim()) {
            say(control, 'no name');
        }
        if (control.tabIndex !== 0) {
            say(control, 'out of the order of focus');
        }
    }
    if (!document.documentElement.lang) {
        faults.push('no language');
    }
    if (!document.title) {
        faults.push('no title');
    }
    if (document.querySelectorAll('h1').length !== 1 || document.querySelectorAll('main').length !== 1) {
        faults.push('not exactly one h1 and one main');
    }
    const { scrollWidth, clientWidth } = document.documentElement;
    if (scrollWidth > clientWidth) {
        faults.push(`scrolls sideways: ${scrollWidth} of ${clientWidth}`);
    }
    for (const script of document.querySelectorAll('script,[onclick],[onload],[style]')) {
        say(script, 'script or style that the policy forbids');
    }
    return faults;
}

export async function faultsOf(page) {
    return await page.evaluate(faultsOfPage);
}

/** Whether the element that has the focus shows it. */
export async function focusIsVisible(page) {
    return await page.evaluate(() => {
        const style = getComputedStyle(document.activeElement);
        return style.outlineStyle !== 'none' && Number.parseFloat(style.outlineWidth) >= 2;
    });
}
