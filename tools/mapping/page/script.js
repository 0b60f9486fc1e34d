"use strict";
{
  const form = document.getElementById("search-form");
  const field = document.getElementById("search-field");
  const count = document.getElementById("search-count");
  const objects = [...document.querySelectorAll("article")].map((article) => ({
    article,
    entry: document.querySelector(`nav a[href="#${article.id}"]`).parentElement,
    text: [...article.querySelectorAll("h3, p, dd, td")].map((part) => part.textContent).join(" ").toLowerCase(),
  }));
  const groups = [...document.querySelectorAll("main section, nav details")]
    .filter((group) => group.querySelector("article, li"));

  const search = () => {
    const words = field.value.toLowerCase().split(/\s+/).filter(Boolean);
    let found = 0;
    for (const { article, entry, text } of objects) {
      const matches = words.every((word) => text.includes(word));
      article.hidden = entry.hidden = !matches;
      found += matches ? 1 : 0;
    }
    for (const group of groups) {
      group.hidden = ![...group.querySelectorAll("article, li")].some((each) => !each.hidden);
    }
    count.textContent = words.length ? `${found} of ${objects.length} objects` : "";
  };

  form.addEventListener("submit", (event) => event.preventDefault());
  field.addEventListener("input", search);
  window.addEventListener("pageshow", search);
  form.hidden = false;
}
